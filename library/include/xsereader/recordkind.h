// RecordKind: the seven kinds of record a decoder delivers, the names every
// output gives them, and the one switch between ISurveyTarget's seven
// methods and code written once for any record.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <optional>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "xsereader/isurveytarget.h"

namespace quor {

enum class RecordKind { kStartTime, kParameter, kPosition, kGyro, kMotion, kMultibeam, kSidescan };

inline constexpr std::array<RecordKind, 7> kAllRecordKinds = {
    RecordKind::kStartTime, RecordKind::kParameter, RecordKind::kPosition, RecordKind::kGyro,
    RecordKind::kMotion,    RecordKind::kMultibeam, RecordKind::kSidescan};

// The record type of each kind, in RecordKind order.
using RecordTypes =
    std::tuple<timeval, ParameterRec, NavigationRec, GyroRec, MotionRec, MultibeamRec, SidescanRec>;

// Calls `function(std::type_identity<Record>{})` with the record type of
// `kind`, and returns what it returns.
template <typename Function>
decltype(auto) WithRecordType(RecordKind kind, Function&& function) {
  switch (kind) {
    case RecordKind::kStartTime:
      return function(std::type_identity<timeval>{});
    case RecordKind::kParameter:
      return function(std::type_identity<ParameterRec>{});
    case RecordKind::kPosition:
      return function(std::type_identity<NavigationRec>{});
    case RecordKind::kGyro:
      return function(std::type_identity<GyroRec>{});
    case RecordKind::kMotion:
      return function(std::type_identity<MotionRec>{});
    case RecordKind::kMultibeam:
      return function(std::type_identity<MultibeamRec>{});
    case RecordKind::kSidescan:
      return function(std::type_identity<SidescanRec>{});
  }
  return function(std::type_identity<timeval>{});  // not reached: every kind has its case
}

// "startTime", "parameter", ...: "kind" in JSON lines and Python dicts,
// `xse dump --kind`, the summary. The text is null-terminated.
constexpr std::string_view RecordKindName(RecordKind kind) {
  constexpr std::array<std::string_view, 7> kNames = {"startTime", "parameter", "position", "gyro",
                                                      "motion",    "multibeam", "sidescan"};
  return kNames[static_cast<size_t>(kind)];
}

// The kind of that name; nothing for any other text.
constexpr std::optional<RecordKind> ParseRecordKind(std::string_view name) {
  for (RecordKind kind : kAllRecordKinds) {
    if (RecordKindName(kind) == name) return kind;
  }
  return std::nullopt;
}

// Kinds by their RecordKind index.
using RecordKindSet = std::bitset<kAllRecordKinds.size()>;

// The kinds of a comma-separated list of names ("position,gyro"); nothing
// when a name is unknown or missing.
inline std::optional<RecordKindSet> ParseRecordKinds(std::string_view list) {
  RecordKindSet kinds;
  for (;;) {
    const size_t comma = list.find(',');
    const auto kind = ParseRecordKind(list.substr(0, comma));
    if (!kind) return std::nullopt;
    kinds.set(static_cast<size_t>(*kind));
    if (comma == std::string_view::npos) return kinds;
    list.remove_prefix(comma + 1);
  }
}

// Hands `record` to the method of `target` for its type.
inline void Deliver(ISurveyTarget& target, const timeval& time) { target.HandleStartTime(time); }
inline void Deliver(ISurveyTarget& target, const ParameterRec& r) { target.HandleParameter(r); }
inline void Deliver(ISurveyTarget& target, const NavigationRec& r) { target.HandlePosition(r); }
inline void Deliver(ISurveyTarget& target, const GyroRec& r) { target.HandleGyro(r); }
inline void Deliver(ISurveyTarget& target, const MotionRec& r) { target.HandleMotion(r); }
inline void Deliver(ISurveyTarget& target, const MultibeamRec& r) { target.HandleMultibeam(r); }
inline void Deliver(ISurveyTarget& target, const SidescanRec& r) { target.HandleSidescan(r); }

// A target that treats every kind alike: each record goes to
// `Derived::OnRecord(RecordKind, const Record&)`, a template or a set of
// overloads, which the derived class may keep private by befriending this.
template <typename Derived>
class RecordVisitor : public ISurveyTarget {
 public:
  void HandleStartTime(const timeval& time) override {
    Self().OnRecord(RecordKind::kStartTime, time);
  }
  void HandleParameter(const ParameterRec& r) override {
    Self().OnRecord(RecordKind::kParameter, r);
  }
  void HandlePosition(const NavigationRec& r) override {
    Self().OnRecord(RecordKind::kPosition, r);
  }
  void HandleGyro(const GyroRec& r) override { Self().OnRecord(RecordKind::kGyro, r); }
  void HandleMotion(const MotionRec& r) override { Self().OnRecord(RecordKind::kMotion, r); }
  void HandleMultibeam(const MultibeamRec& r) override {
    Self().OnRecord(RecordKind::kMultibeam, r);
  }
  void HandleSidescan(const SidescanRec& r) override { Self().OnRecord(RecordKind::kSidescan, r); }

 protected:
  // As for any target: never deleted through this base.
  RecordVisitor() = default;
  RecordVisitor(const RecordVisitor&) = default;
  RecordVisitor& operator=(const RecordVisitor&) = default;
  ~RecordVisitor() = default;

 private:
  Derived& Self() { return static_cast<Derived&>(*this); }
};

}  // namespace quor
