// RecordFilter: passes the records of one kind (or of every kind) on to
// another target, at most a given number of them, and tells its owner when
// that number is reached so decoding can stop.
#pragma once

#include <cstdint>
#include <optional>

#include "interpreters/surveyreaderlib/isurveytarget.h"
#include "tools/xse/recordkind.h"

namespace xsetool {

class RecordFilter final : public quor::ISurveyTarget {
 public:
  // No kind: every kind passes. No limit: every record passes.
  RecordFilter(quor::ISurveyTarget& next, std::optional<RecordKind> kind,
               std::optional<uint64_t> limit)
      : next_(next), kind_(kind), limit_(limit) {}

  bool done() const { return limit_ && passed_ >= *limit_; }

  void HandleStartTime(const quor::timeval& time) override {
    if (Pass(RecordKind::kStartTime)) next_.HandleStartTime(time);
  }
  void HandleParameter(const quor::ParameterRec& record) override {
    if (Pass(RecordKind::kParameter)) next_.HandleParameter(record);
  }
  void HandlePosition(const quor::NavigationRec& record) override {
    if (Pass(RecordKind::kPosition)) next_.HandlePosition(record);
  }
  void HandleGyro(const quor::GyroRec& record) override {
    if (Pass(RecordKind::kGyro)) next_.HandleGyro(record);
  }
  void HandleMotion(const quor::MotionRec& record) override {
    if (Pass(RecordKind::kMotion)) next_.HandleMotion(record);
  }
  void HandleMultibeam(const quor::MultibeamRec& record) override {
    if (Pass(RecordKind::kMultibeam)) next_.HandleMultibeam(record);
  }
  void HandleSidescan(const quor::SidescanRec& record) override {
    if (Pass(RecordKind::kSidescan)) next_.HandleSidescan(record);
  }

 private:
  bool Pass(RecordKind kind) {
    if ((kind_ && *kind_ != kind) || done()) return false;
    ++passed_;
    return true;
  }

  quor::ISurveyTarget& next_;
  std::optional<RecordKind> kind_;
  std::optional<uint64_t> limit_;
  uint64_t passed_ = 0;
};

}  // namespace xsetool
