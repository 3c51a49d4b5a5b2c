// The --head option shared by the commands that decode bathymetry.
#pragma once

#include <cstdint>
#include <string_view>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"

namespace xsetool {

// "all", "first" or "second" to the decoder's head selection; false for
// any other text, leaving `mode` as it was.
inline bool ParseHeadMode(std::string_view text, int32_t& mode) {
  if (text == "all") {
    mode = ElacReader::kAllBeams;
  } else if (text == "first") {
    mode = ElacReader::kFirstHead;
  } else if (text == "second") {
    mode = ElacReader::kSecondHead;
  } else {
    return false;
  }
  return true;
}

}  // namespace xsetool
