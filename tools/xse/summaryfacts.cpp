#include "tools/xse/summaryfacts.h"

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "tools/xse/utctime.h"

namespace xsetool {
namespace {

// Names of the frame types this reader decodes; others go by number.
const char* FrameTypeName(uint32_t type) {
  switch (type) {
    case elac::kNavigationFrame:
      return "navigation";
    case elac::kParameterFrame:
      return "parameter";
    case elac::kSidescanFrame:
      return "sidescan";
    case elac::kBathymetryFrame:
      return "bathymetry";
    default:
      return nullptr;
  }
}

// Frame types in the order people think of a survey: set-up, then data.
constexpr uint32_t kNamedTypeOrder[] = {elac::kParameterFrame, elac::kNavigationFrame,
                                        elac::kBathymetryFrame, elac::kSidescanFrame};

std::vector<NamedCount> FrameTypes(const elac::ReadStatistics& frames) {
  std::vector<NamedCount> types;
  for (const uint32_t type : kNamedTypeOrder)
    types.push_back({FrameTypeName(type), FrameTypeName(type), frames.framesByType[type], true});
  for (uint32_t slot = 0; slot < frames.framesByType.size(); ++slot) {
    if (FrameTypeName(slot) != nullptr || frames.framesByType[slot] == 0) continue;
    const std::string number =
        std::to_string(slot) + (slot == elac::ReadStatistics::kOtherFrameTypes ? "+" : "");
    types.push_back({"type " + number, "type" + number, frames.framesByType[slot], false});
  }
  return types;
}

// JSON keys of the rejection reasons, in the order of elac::DecodeStatus.
constexpr const char* kRejectionKeys[elac::kDecodeStatusCount] = {
    "decoded", "sizeOverLimit", "truncated", "badEndMarker", "shortFrame"};

std::vector<ReasonFacts> Rejections(const elac::ReadStatistics& frames) {
  std::vector<ReasonFacts> rejections;
  for (size_t slot = 1; slot < elac::kDecodeStatusCount; ++slot) {
    if (frames.rejectedByReason[slot] == 0) continue;
    rejections.push_back({elac::DecodeStatusName(static_cast<elac::DecodeStatus>(slot)),
                          kRejectionKeys[slot], frames.rejectedByReason[slot],
                          frames.firstRejectedAt[slot]});
  }
  return rejections;
}

// JSON keys of the group statuses, in the order of elac::GroupStatus.
constexpr const char* kGroupKeys[elac::kGroupStatusCount] = {"decoded", "unknownType", "unusable",
                                                             "overrunsFrame"};

std::vector<ReasonFacts> GroupsSkipped(const elac::ReadStatistics& frames) {
  std::vector<ReasonFacts> skipped;
  for (size_t slot = 1; slot < elac::kGroupStatusCount; ++slot) {
    if (frames.groupsByStatus[slot] == 0) continue;
    skipped.push_back({elac::GroupStatusName(static_cast<elac::GroupStatus>(slot)),
                       kGroupKeys[slot], frames.groupsByStatus[slot], frames.firstGroupAt[slot]});
  }
  return skipped;
}

}  // namespace

SummaryFacts MakeSummaryFacts(const FileSummary& summary) {
  const elac::ReadStatistics& frames = summary.frames;
  const SurveyStats& records = summary.records;
  SummaryFacts facts;
  facts.path = summary.path;
  facts.size = summary.size;
  facts.bigEndianFrames = frames.bigEndianFrames;
  facts.littleEndianFrames = frames.littleEndianFrames;
  facts.framesDecoded = frames.FramesDecoded();
  facts.frameTypes = FrameTypes(frames);
  facts.framesRejected = frames.framesRejected;
  facts.bytesSkipped = summary.bytesSkipped();
  facts.rejections = Rejections(frames);
  facts.groupsDecoded = frames.groupsByStatus[static_cast<size_t>(elac::GroupStatus::kDecoded)];
  facts.groupsSkipped = GroupsSkipped(frames);
  for (const quor::RecordKind kind : quor::kAllRecordKinds) {
    const std::string name(quor::RecordKindName(kind));
    facts.records.push_back({name, name, records.records(kind), true});
  }
  facts.multibeam = {records.records(quor::RecordKind::kMultibeam), records.beamsPerPing()};
  facts.sidescan = {records.records(quor::RecordKind::kSidescan), records.samplesPerPing()};
  if (const auto& span = records.timeSpan(); !span.empty) {
    facts.time = TimeFacts{FormatUtc(span.min.time), FormatUtc(span.max.time),
                           SecondsBetween(span.min.time, span.max.time)};
  }
  facts.geographic = records.geographic();
  facts.projected = records.projected();
  facts.parameters = records.parameters();
  facts.decodeSeconds = summary.decodeSeconds;
  if (summary.decodeSeconds > 0)
    facts.bytesPerSecond = static_cast<double>(summary.size) / summary.decodeSeconds;
  return facts;
}

}  // namespace xsetool
