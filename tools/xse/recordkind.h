// The kinds of record a decoder delivers, by the names the tool's outputs
// use for them ("kind" in JSON lines, --kind, the info summary).
#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace xsetool {

enum class RecordKind { kStartTime, kParameter, kPosition, kGyro, kMotion, kMultibeam, kSidescan };

inline constexpr std::array<RecordKind, 7> kAllRecordKinds = {
    RecordKind::kStartTime, RecordKind::kParameter, RecordKind::kPosition, RecordKind::kGyro,
    RecordKind::kMotion,    RecordKind::kMultibeam, RecordKind::kSidescan};

constexpr std::string_view RecordKindName(RecordKind kind) {
  constexpr std::array<std::string_view, 7> kNames = {"startTime", "parameter", "position", "gyro",
                                                      "motion",    "multibeam", "sidescan"};
  return kNames[static_cast<size_t>(kind)];
}

constexpr std::optional<RecordKind> ParseRecordKind(std::string_view name) {
  for (RecordKind kind : kAllRecordKinds) {
    if (RecordKindName(kind) == name) return kind;
  }
  return std::nullopt;
}

}  // namespace xsetool
