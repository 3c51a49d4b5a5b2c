#include "tools/xse/surveyreport.h"

#include <cstdarg>
#include <cstdio>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "tools/xse/jsontext.h"
#include "tools/xse/utctime.h"

namespace xsetool {
namespace {

std::string Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Printf(const char* format, ...) {
  char text[512];
  va_list args;
  va_start(args, format);
  std::vsnprintf(text, sizeof text, format, args);
  va_end(args);
  return text;
}

unsigned long long Ull(uint64_t value) { return static_cast<unsigned long long>(value); }

std::string HumanBytes(uint64_t bytes) {
  static const char* const kUnits[] = {"bytes", "KiB", "MiB", "GiB", "TiB"};
  double value = static_cast<double>(bytes);
  size_t unit = 0;
  while (value >= 1024.0 && unit + 1 < std::size(kUnits)) {
    value /= 1024.0;
    ++unit;
  }
  return unit == 0 ? Printf("%llu bytes", Ull(bytes)) : Printf("%.1f %s", value, kUnits[unit]);
}

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

std::string FrameTypeLabel(uint32_t slot) {
  if (const char* name = FrameTypeName(slot)) return name;
  if (slot == elac::ReadStatistics::kOtherFrameTypes) return Printf("type %u+", slot);
  return Printf("type %u", slot);
}

// Frame types in the order people think of a survey: set-up, then data.
constexpr uint32_t kNamedTypeOrder[] = {elac::kParameterFrame, elac::kNavigationFrame,
                                        elac::kBathymetryFrame, elac::kSidescanFrame};

bool IsNamedType(uint32_t slot) { return FrameTypeName(slot) != nullptr; }

// Names may hold anything; only printable ASCII goes to the terminal.
std::string PrintableName(const std::string& name) {
  if (name.empty()) return "(no name)";
  std::string text;
  for (char c : name) text += (c >= 0x20 && c < 0x7F) ? c : '?';
  return text;
}

std::string CountRange(const Range<uint32_t>& range, const char* unit) {
  if (range.min == range.max) return Printf("%u %s per ping", range.min, unit);
  return Printf("%u to %u %s per ping", range.min, range.max, unit);
}

std::string PositionLine(const PositionBounds& bounds, const char* datum) {
  std::string line = Printf("%llu %s fixes", Ull(bounds.fixes), datum);
  if (!bounds.first.empty) {
    line += Printf(": first %.9g to %.9g, second %.9g to %.9g", bounds.first.min, bounds.first.max,
                   bounds.second.min, bounds.second.max);
  }
  return line;
}

// An empty label continues the fact above it, lined up under it.
void AppendLine(std::string& out, const char* label, const std::string& facts) {
  out += Printf("  %-12s %s\n", label, facts.c_str());
}

void RangeMembers(JsonBuilder& json, std::string_view minKey, std::string_view maxKey,
                  const Range<uint32_t>& range) {
  if (range.empty) {
    json.Null(minKey).Null(maxKey);
  } else {
    json.Number(minKey, range.min).Number(maxKey, range.max);
  }
}

void BoundsObject(JsonBuilder& json, std::string_view key, const PositionBounds& bounds) {
  json.BeginObject(key).Number("fixes", bounds.fixes);
  const auto bound = [&json](std::string_view name, const Range<double>& range, bool max) {
    if (range.empty) {
      json.Null(name);
    } else {
      json.Number(name, max ? range.max : range.min);
    }
  };
  bound("firstMin", bounds.first, false);
  bound("firstMax", bounds.first, true);
  bound("secondMin", bounds.second, false);
  bound("secondMax", bounds.second, true);
  json.EndObject();
}

}  // namespace

std::string FormatSummaryText(const FileSummary& summary) {
  const elac::ReadStatistics& frames = summary.frames;
  const SurveyStats& records = summary.records;
  std::string out = summary.path + "\n";
  AppendLine(out, "size",
             summary.size < 1024
                 ? HumanBytes(summary.size)
                 : Printf("%llu bytes (%s)", Ull(summary.size), HumanBytes(summary.size).c_str()));

  std::string orders;
  if (frames.bigEndianFrames != 0) orders = Printf("big-endian %llu", Ull(frames.bigEndianFrames));
  if (frames.littleEndianFrames != 0) {
    if (!orders.empty()) orders += ", ";
    orders += Printf("little-endian %llu", Ull(frames.littleEndianFrames));
  }
  AppendLine(out, "byte order", orders.empty() ? "none" : orders);

  std::string types = Printf("%llu decoded", Ull(frames.FramesDecoded()));
  std::string separator = ": ";
  const auto addType = [&](uint32_t slot) {
    if (frames.framesByType[slot] == 0) return;
    types +=
        separator + Printf("%llu %s", Ull(frames.framesByType[slot]), FrameTypeLabel(slot).c_str());
    separator = ", ";
  };
  for (uint32_t type : kNamedTypeOrder) addType(type);
  for (uint32_t slot = 0; slot < frames.framesByType.size(); ++slot) {
    if (!IsNamedType(slot)) addType(slot);
  }
  AppendLine(out, "frames", types);
  AppendLine(out, "rejected",
             Printf("%llu frames, %llu bytes skipped", Ull(frames.framesRejected),
                    Ull(summary.bytesSkipped())));

  std::string kinds;
  for (quor::RecordKind kind : quor::kAllRecordKinds) {
    if (!kinds.empty()) kinds += ", ";
    kinds += Printf("%llu %s", Ull(records.records(kind)), quor::RecordKindName(kind).data());
  }
  AppendLine(out, "records", kinds);

  const uint64_t pings = records.records(quor::RecordKind::kMultibeam);
  AppendLine(out, "multibeam",
             pings == 0 ? "none"
                        : Printf("%llu pings, %s", Ull(pings),
                                 CountRange(records.beamsPerPing(), "beams").c_str()));
  const uint64_t sidescanPings = records.records(quor::RecordKind::kSidescan);
  AppendLine(out, "sidescan",
             sidescanPings == 0 ? "none"
                                : Printf("%llu pings, %s", Ull(sidescanPings),
                                         CountRange(records.samplesPerPing(), "samples").c_str()));

  const auto& span = records.timeSpan();
  AppendLine(out, "time",
             span.empty ? "none"
                        : Printf("%s to %s (%.3f s)", FormatUtc(span.min.time).c_str(),
                                 FormatUtc(span.max.time).c_str(),
                                 SecondsBetween(span.min.time, span.max.time)));

  const PositionBounds& geographic = records.geographic();
  const PositionBounds& projected = records.projected();
  if (geographic.fixes == 0 && projected.fixes == 0) {
    AppendLine(out, "position", "none");
  } else {
    const char* label = "position";
    if (geographic.fixes != 0) {
      AppendLine(out, label, PositionLine(geographic, "WGS84"));
      label = "";
    }
    if (projected.fixes != 0) AppendLine(out, label, PositionLine(projected, "projected"));
  }

  if (records.parameters().empty()) {
    AppendLine(out, "parameters", "none");
  } else {
    const char* label = "parameters";
    for (const ParameterTally& tally : records.parameters()) {
      std::string line = Printf("%s, kind %d: %llu", PrintableName(tally.name).c_str(),
                                tally.sensorKind, Ull(tally.records));
      if (tally.valid != tally.records) line += Printf(" (%llu valid)", Ull(tally.valid));
      AppendLine(out, label, line);
      label = "";
    }
  }

  const double seconds = summary.decodeSeconds;
  AppendLine(out, "decode",
             seconds > 0 ? Printf("%.3f s, %.1f MiB/s", seconds,
                                  static_cast<double>(summary.size) / seconds / (1 << 20))
                         : Printf("%.3f s", seconds));
  return out;
}

std::string FormatSummaryJson(const FileSummary& summary) {
  const elac::ReadStatistics& frames = summary.frames;
  const SurveyStats& records = summary.records;
  std::string out;
  JsonBuilder json(out);
  json.BeginObject().String("file", summary.path).Number("size", summary.size);
  json.BeginObject("byteOrder")
      .Number("big", frames.bigEndianFrames)
      .Number("little", frames.littleEndianFrames)
      .EndObject();

  json.BeginObject("frames").Number("decoded", frames.FramesDecoded());
  for (uint32_t type : kNamedTypeOrder) json.Number(FrameTypeName(type), frames.framesByType[type]);
  for (uint32_t slot = 0; slot < frames.framesByType.size(); ++slot) {
    if (IsNamedType(slot) || frames.framesByType[slot] == 0) continue;
    const std::string key = slot == elac::ReadStatistics::kOtherFrameTypes ? Printf("type%u+", slot)
                                                                           : Printf("type%u", slot);
    json.Number(key, frames.framesByType[slot]);
  }
  json.Number("rejected", frames.framesRejected).EndObject();
  json.Number("bytesSkipped", summary.bytesSkipped());

  json.BeginObject("records");
  for (quor::RecordKind kind : quor::kAllRecordKinds)
    json.Number(quor::RecordKindName(kind), records.records(kind));
  json.EndObject();

  json.BeginObject("multibeam").Number("pings", records.records(quor::RecordKind::kMultibeam));
  RangeMembers(json, "beamsMin", "beamsMax", records.beamsPerPing());
  json.EndObject();
  json.BeginObject("sidescan").Number("pings", records.records(quor::RecordKind::kSidescan));
  RangeMembers(json, "samplesMin", "samplesMax", records.samplesPerPing());
  json.EndObject();

  const auto& span = records.timeSpan();
  if (span.empty) {
    json.Null("time");
  } else {
    json.BeginObject("time")
        .String("start", FormatUtc(span.min.time))
        .String("end", FormatUtc(span.max.time))
        .Number("seconds", SecondsBetween(span.min.time, span.max.time))
        .EndObject();
  }

  json.BeginObject("position");
  BoundsObject(json, "wgs84", records.geographic());
  BoundsObject(json, "projected", records.projected());
  json.EndObject();

  json.BeginArray("parameters");
  for (const ParameterTally& tally : records.parameters()) {
    json.BeginObject()
        .String("name", tally.name)
        .Number("sensorKind", tally.sensorKind)
        .Number("records", tally.records)
        .Number("valid", tally.valid)
        .EndObject();
  }
  json.EndArray();

  json.BeginObject("decode").Number("seconds", summary.decodeSeconds);
  if (summary.decodeSeconds > 0) {
    json.Number("bytesPerSecond", static_cast<double>(summary.size) / summary.decodeSeconds);
  } else {
    json.Null("bytesPerSecond");
  }
  json.EndObject().EndObject();
  out += '\n';
  return out;
}

}  // namespace xsetool
