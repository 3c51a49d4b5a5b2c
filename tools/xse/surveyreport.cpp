#include "tools/xse/surveyreport.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <numbers>
#include <string_view>

#include "tools/xse/jsontext.h"
#include "tools/xse/summaryfacts.h"

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

double Degrees(double radians) { return radians * (180 / std::numbers::pi); }

// "54.426670° N": degrees to a decimetre or so, with the hemisphere.
std::string Hemisphere(double radians, char positive, char negative) {
  const double degrees = Degrees(radians);
  return Printf("%.6f\u00b0 %c", std::fabs(degrees), degrees < 0 ? negative : positive);
}

std::string PositionLine(const PositionBounds& bounds, const char* datum) {
  std::string line = Printf("%llu %s fixes", Ull(bounds.fixes), datum);
  if (bounds.fixes == 0 || bounds.first.empty) return line;
  if (std::string_view(datum) == "WGS84") {
    // The record's geographic pair is latitude and longitude in radians.
    return line + ": latitude " + Hemisphere(bounds.first.min, 'N', 'S') + " to " +
           Hemisphere(bounds.first.max, 'N', 'S') + ", longitude " +
           Hemisphere(bounds.second.min, 'E', 'W') + " to " +
           Hemisphere(bounds.second.max, 'E', 'W');
  }
  return line + Printf(": first %.9g to %.9g, second %.9g to %.9g", bounds.first.min,
                       bounds.first.max, bounds.second.min, bounds.second.max);
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

// "12 a, 3 b" from the counts, zero counts left out when `skipZero`.
std::string CountList(const std::vector<NamedCount>& counts, bool skipZero) {
  std::string text;
  for (const NamedCount& count : counts) {
    if (skipZero && count.count == 0) continue;
    if (!text.empty()) text += ", ";
    text += Printf("%llu %s", Ull(count.count), count.label.c_str());
  }
  return text;
}

void CountMembers(JsonBuilder& json, const std::vector<NamedCount>& counts) {
  for (const NamedCount& count : counts)
    if (count.alwaysShown || count.count != 0) json.Number(count.key, count.count);
}

void BoundsObject(JsonBuilder& json, std::string_view key, const PositionBounds& bounds,
                  bool geographic) {
  json.BeginObject(key).Number("fixes", bounds.fixes);
  const auto bound = [&json](std::string_view name, const Range<double>& range, bool max,
                             double scale = 1) {
    if (range.empty) {
      json.Null(name);
    } else {
      json.Number(name, (max ? range.max : range.min) * scale);
    }
  };
  if (geographic) {
    // Degrees for people's tools; the record's radians follow as they are.
    const double degrees = 180 / std::numbers::pi;
    bound("latitudeMin", bounds.first, false, degrees);
    bound("latitudeMax", bounds.first, true, degrees);
    bound("longitudeMin", bounds.second, false, degrees);
    bound("longitudeMax", bounds.second, true, degrees);
  }
  bound("firstMin", bounds.first, false);
  bound("firstMax", bounds.first, true);
  bound("secondMin", bounds.second, false);
  bound("secondMax", bounds.second, true);
  json.EndObject();
}

// "; bad end marker: 3 frames, first at 860; truncated: 1 frame at 9000".
std::string ReasonList(const std::vector<ReasonFacts>& reasons, const char* unit) {
  std::string list;
  for (const ReasonFacts& reason : reasons) {
    list += reason.count == 1 ? Printf("; %s: 1 %s at %llu", reason.text, unit, Ull(reason.firstAt))
                              : Printf("; %s: %llu %ss, first at %llu", reason.text,
                                       Ull(reason.count), unit, Ull(reason.firstAt));
  }
  return list;
}

void AppendFrameLines(std::string& out, const SummaryFacts& facts) {
  AppendLine(out, "size",
             facts.size < 1024
                 ? HumanBytes(facts.size)
                 : Printf("%llu bytes (%s)", Ull(facts.size), HumanBytes(facts.size).c_str()));
  std::string orders;
  if (facts.bigEndianFrames != 0) orders = Printf("big-endian %llu", Ull(facts.bigEndianFrames));
  if (facts.littleEndianFrames != 0) {
    if (!orders.empty()) orders += ", ";
    orders += Printf("little-endian %llu", Ull(facts.littleEndianFrames));
  }
  AppendLine(out, "byte order", orders.empty() ? "none" : orders);
  const std::string types = CountList(facts.frameTypes, true);
  AppendLine(
      out, "frames",
      Printf("%llu decoded", Ull(facts.framesDecoded)) + (types.empty() ? "" : ": " + types));
  AppendLine(out, "rejected",
             Printf("%llu frames, %llu bytes skipped", Ull(facts.framesRejected),
                    Ull(facts.bytesSkipped)) +
                 ReasonList(facts.rejections, "frame"));
  AppendLine(
      out, "groups",
      Printf("%llu decoded", Ull(facts.groupsDecoded)) + ReasonList(facts.groupsSkipped, "group"));
}

std::string PingLine(const PingFacts& pings, const char* unit) {
  if (pings.pings == 0) return "none";
  return Printf("%llu pings, %s", Ull(pings.pings), CountRange(pings.perPing, unit).c_str());
}

void AppendRecordLines(std::string& out, const SummaryFacts& facts) {
  AppendLine(out, "records", CountList(facts.records, false));
  AppendLine(out, "multibeam", PingLine(facts.multibeam, "beams"));
  AppendLine(out, "sidescan", PingLine(facts.sidescan, "samples"));
  AppendLine(out, "time",
             facts.time ? Printf("%s to %s (%.3f s)", facts.time->start.c_str(),
                                 facts.time->end.c_str(), facts.time->seconds)
                        : "none");
  if (facts.geographic.fixes == 0 && facts.projected.fixes == 0) {
    AppendLine(out, "position", "none");
  } else {
    const char* label = "position";
    if (facts.geographic.fixes != 0) {
      AppendLine(out, label, PositionLine(facts.geographic, "WGS84"));
      label = "";
    }
    if (facts.projected.fixes != 0)
      AppendLine(out, label, PositionLine(facts.projected, "projected"));
  }
}

void AppendParameterLines(std::string& out, const SummaryFacts& facts) {
  const char* label = "parameters";
  if (facts.parameters.empty()) AppendLine(out, label, "none");
  for (const ParameterTally& tally : facts.parameters) {
    std::string line = Printf("%s, kind %d: %llu", PrintableName(tally.name).c_str(),
                              tally.sensorKind, Ull(tally.records));
    if (tally.valid != tally.records) line += Printf(" (%llu valid)", Ull(tally.valid));
    AppendLine(out, label, line);
    label = "";
  }
  AppendLine(out, "decode",
             facts.bytesPerSecond ? Printf("%.3f s, %.1f MiB/s", facts.decodeSeconds,
                                           *facts.bytesPerSecond / (1 << 20))
                                  : Printf("%.3f s", facts.decodeSeconds));
}

void PingObject(JsonBuilder& json, std::string_view key, const PingFacts& pings,
                std::string_view minKey, std::string_view maxKey) {
  json.BeginObject(key).Number("pings", pings.pings);
  RangeMembers(json, minKey, maxKey, pings.perPing);
  json.EndObject();
}

// {"badEndMarker":{"frames":2,"firstAt":860},...}'s members, counted
// under `countKey`.
void ReasonMembers(JsonBuilder& json, const std::vector<ReasonFacts>& reasons,
                   const char* countKey) {
  for (const ReasonFacts& reason : reasons)
    json.BeginObject(reason.key)
        .Number(countKey, reason.count)
        .Number("firstAt", reason.firstAt)
        .EndObject();
}

void FrameMembers(JsonBuilder& json, const SummaryFacts& facts) {
  json.String("file", facts.path).Number("size", facts.size);
  json.BeginObject("byteOrder")
      .Number("big", facts.bigEndianFrames)
      .Number("little", facts.littleEndianFrames)
      .EndObject();
  json.BeginObject("frames").Number("decoded", facts.framesDecoded);
  CountMembers(json, facts.frameTypes);
  json.Number("rejected", facts.framesRejected).EndObject();
  json.Number("bytesSkipped", facts.bytesSkipped).BeginObject("rejected");
  ReasonMembers(json, facts.rejections, "frames");
  json.EndObject();
  json.BeginObject("groups").Number("decoded", facts.groupsDecoded);
  ReasonMembers(json, facts.groupsSkipped, "groups");
  json.EndObject();
}

void RecordMembers(JsonBuilder& json, const SummaryFacts& facts) {
  json.BeginObject("records");
  CountMembers(json, facts.records);
  json.EndObject();
  PingObject(json, "multibeam", facts.multibeam, "beamsMin", "beamsMax");
  PingObject(json, "sidescan", facts.sidescan, "samplesMin", "samplesMax");
  if (facts.time) {
    json.BeginObject("time")
        .String("start", facts.time->start)
        .String("end", facts.time->end)
        .Number("seconds", facts.time->seconds)
        .EndObject();
  } else {
    json.Null("time");
  }
  json.BeginObject("position");
  BoundsObject(json, "wgs84", facts.geographic, true);
  BoundsObject(json, "projected", facts.projected, false);
  json.EndObject();
}

void ParameterMembers(JsonBuilder& json, const SummaryFacts& facts) {
  json.BeginArray("parameters");
  for (const ParameterTally& tally : facts.parameters) {
    json.BeginObject()
        .String("name", tally.name)
        .Number("sensorKind", tally.sensorKind)
        .Number("records", tally.records)
        .Number("valid", tally.valid)
        .EndObject();
  }
  json.EndArray();
  json.BeginObject("decode").Number("seconds", facts.decodeSeconds);
  if (facts.bytesPerSecond) {
    json.Number("bytesPerSecond", *facts.bytesPerSecond);
  } else {
    json.Null("bytesPerSecond");
  }
  json.EndObject();
}

}  // namespace

std::string FormatSummaryText(const FileSummary& summary) {
  const SummaryFacts facts = MakeSummaryFacts(summary);
  std::string out = facts.path + "\n";
  AppendFrameLines(out, facts);
  AppendRecordLines(out, facts);
  AppendParameterLines(out, facts);
  return out;
}

std::string FormatSummaryJson(const FileSummary& summary) {
  const SummaryFacts facts = MakeSummaryFacts(summary);
  std::string out;
  JsonBuilder json(out);
  json.BeginObject();
  FrameMembers(json, facts);
  RecordMembers(json, facts);
  ParameterMembers(json, facts);
  json.EndObject();
  out += '\n';
  return out;
}

}  // namespace xsetool
