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

// Reports what went wrong with `path` after it was opened.
inline void ReportInputProblem(const std::string& path, const std::string& problem) {
  std::fprintf(stderr, "xse: %s: %s\n", path.c_str(), problem.c_str());
}

inline void ReportNoXseData(const std::string& path) {
  ReportInputProblem(path, "no XSE data found");
}

}  // namespace xsetool
