// RecordFilter: passes the records of one kind (or of every kind) on to
// another target, at most a given number of them, and tells its owner when
// that number is reached so decoding can stop.
#pragma once

#include <cstdint>
#include <optional>

#include "interpreters/surveyreaderlib/recordkind.h"

namespace xsetool {

class RecordFilter final : public quor::RecordVisitor<RecordFilter> {
 public:
  // No kind: every kind passes. No limit: every record passes.
  RecordFilter(quor::ISurveyTarget& next, std::optional<quor::RecordKind> kind,
               std::optional<uint64_t> limit)
      : next_(next), kind_(kind), limit_(limit) {}

  bool done() const { return limit_ && passed_ >= *limit_; }

 private:
  friend RecordVisitor;
  template <typename Record>
  void OnRecord(quor::RecordKind kind, const Record& record) {
    if ((kind_ && *kind_ != kind) || done()) return;
    ++passed_;
    quor::Deliver(next_, record);
  }

  quor::ISurveyTarget& next_;
  std::optional<quor::RecordKind> kind_;
  std::optional<uint64_t> limit_;
  uint64_t passed_ = 0;
};

}  // namespace xsetool
