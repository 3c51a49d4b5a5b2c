// RecordFilter: passes the records of some kinds on to another target, at
// most a given number of them, and tells its owner when that number is
// reached so decoding can stop.
#pragma once

#include <cstdint>
#include <optional>

#include "xsereader/recordkind.h"

namespace quor {

class RecordFilter final : public RecordVisitor<RecordFilter> {
 public:
  // No limit: every record of the kinds passes.
  RecordFilter(ISurveyTarget& next, RecordKindSet kinds, std::optional<uint64_t> limit = {})
      : next_(next), kinds_(kinds), limit_(limit) {}

  bool done() const { return limit_ && passed_ >= *limit_; }

 private:
  friend RecordVisitor;
  template <typename Record>
  void OnRecord(RecordKind kind, const Record& record) {
    if (!kinds_.test(static_cast<size_t>(kind)) || done()) return;
    ++passed_;
    Deliver(next_, record);
  }

  ISurveyTarget& next_;
  RecordKindSet kinds_;
  std::optional<uint64_t> limit_;
  uint64_t passed_ = 0;
};

}  // namespace quor
