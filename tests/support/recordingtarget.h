// A survey target for tests: keeps a copy of every call it receives, in
// order, so tests can assert on the exact call sequence of a decoder.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "xsereader/recordkind.h"

namespace xsetest {

using RecordedCall =
    std::variant<quor::timeval, quor::ParameterRec, quor::NavigationRec, quor::GyroRec,
                 quor::MotionRec, quor::MultibeamRec, quor::SidescanRec>;

class RecordingTarget final : public quor::RecordVisitor<RecordingTarget> {
 public:
  template <typename Record>
  void OnRecord(quor::RecordKind /*kind*/, const Record& record) {
    calls.emplace_back(record);
  }

  // The kinds of the calls in order, by name ("startTime", "parameter", ...).
  std::vector<std::string> Kinds() const {
    std::vector<std::string> kinds;
    for (const auto& call : calls)
      kinds.emplace_back(quor::RecordKindName(static_cast<quor::RecordKind>(call.index())));
    return kinds;
  }

  // The n-th call of type T (0 for the first), or null.
  template <typename T>
  const T* Nth(size_t n = 0) const {
    for (const auto& call : calls) {
      if (const T* record = std::get_if<T>(&call)) {
        if (n-- == 0) return record;
      }
    }
    return nullptr;
  }

  template <typename T>
  size_t Count() const {
    size_t count = 0;
    for (const auto& call : calls) count += std::holds_alternative<T>(call) ? 1u : 0u;
    return count;
  }

  std::vector<RecordedCall> calls;
};

}  // namespace xsetest
