// The facts `xse info` reports about one file, worked out once from what
// the read counted; the text and the JSON printers only lay them out.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/xse/surveyreport.h"
#include "tools/xse/surveystats.h"

namespace xsetool {

// A count under a name, with the name's JSON member key.
struct NamedCount {
  std::string label;  // for people: "navigation", "type 7"
  std::string key;    // for programs: "navigation", "type7"
  uint64_t count = 0;
  bool alwaysShown = false;  // JSON lists it even at zero
};

struct PingFacts {
  uint64_t pings = 0;
  Range<uint32_t> perPing;  // beams or samples
};

struct TimeFacts {
  std::string start, end;  // UTC
  double seconds = 0;
};

// Frames rejected, or groups not decoded, for one reason: how many, and
// where the first lay.
struct ReasonFacts {
  const char* text;  // "bad end marker"
  const char* key;   // "badEndMarker"
  uint64_t count = 0, firstAt = 0;
};

struct SummaryFacts {
  std::string path;
  uint64_t size = 0;
  uint64_t bigEndianFrames = 0, littleEndianFrames = 0;
  uint64_t framesDecoded = 0;
  std::vector<NamedCount> frameTypes;  // set-up and data types first, then others by number
  uint64_t framesRejected = 0, bytesSkipped = 0;
  std::vector<ReasonFacts> rejections;  // reasons with frames only
  uint64_t groupsDecoded = 0;
  std::vector<ReasonFacts> groupsSkipped;  // reasons with groups only
  std::vector<NamedCount> records;         // by record kind
  PingFacts multibeam, sidescan;
  std::optional<TimeFacts> time;
  PositionBounds geographic, projected;
  std::vector<ParameterTally> parameters;
  double decodeSeconds = 0;
  std::optional<double> bytesPerSecond;
};

SummaryFacts MakeSummaryFacts(const FileSummary& summary);

}  // namespace xsetool
