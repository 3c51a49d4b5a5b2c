// A file that opened and held bytes but not one XSE frame is not XSE data:
// every command that reads files says so instead of printing nothing.
#pragma once

#include <cstdio>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"

namespace xsetool {

// True when the read found no frame at all (frames it rejected count as
// found: a damaged survey is still a survey).
inline bool NoXseDataFound(const elac::ReadStatistics& frames) {
  return frames.FramesDecoded() == 0 && frames.framesRejected == 0;
}

inline void ReportNoXseData(const std::string& path) {
  std::fprintf(stderr, "xse: %s: no XSE data found\n", path.c_str());
}

}  // namespace xsetool
