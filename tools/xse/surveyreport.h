// The summary `xse info` prints for one file, as text for people and as one
// JSON object for programs. Both carry the same facts.
#pragma once

#include <cstdint>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"
#include "tools/xse/surveystats.h"

namespace xsetool {

struct FileSummary {
  std::string path;
  uint64_t size = 0;
  elac::ReadStatistics frames;
  SurveyStats records;
  double decodeSeconds = 0;

  // Everything in the file that was not part of a decoded frame.
  uint64_t bytesSkipped() const { return size > frames.frameBytes ? size - frames.frameBytes : 0; }
};

// Lines of "  label   facts", starting with the path; ends with a newline.
std::string FormatSummaryText(const FileSummary& summary);
// One JSON object on one line, with a newline.
std::string FormatSummaryJson(const FileSummary& summary);

}  // namespace xsetool
