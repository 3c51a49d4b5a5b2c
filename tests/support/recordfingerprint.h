// A target that keeps one number per record: a hash of its kind and of every
// field it shows, walked through the one description of the record fields
// that the outputs use. Two decodes that deliver the same records in the
// same order give the same list, so a frame lost, repeated, reordered or
// decoded differently shows.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "xsereader/recordfields.h"
#include "xsereader/recordkind.h"

namespace xsetest {

class FingerprintTarget : public quor::RecordVisitor<FingerprintTarget> {
 public:
  virtual ~FingerprintTarget() = default;

  template <typename Record>
  void OnRecord(quor::RecordKind kind, const Record& record) {
    if (kind == quor::RecordKind::kMultibeam) ++pings;
    Hash hash;
    hash.Scalar("kind", static_cast<uint64_t>(kind));
    quor::VisitFields(record, hash);
    prints.push_back(hash.value);
  }

  std::vector<uint64_t> prints;
  size_t pings = 0;

 private:
  // FNV-1a over the bytes of each field in turn; a missing array counts.
  struct Hash {
    uint64_t value = 1469598103934665603u;
    uint32_t items = 0;

    void Bytes(const void* bytes, size_t count) {
      const auto* byte = static_cast<const uint8_t*>(bytes);
      for (size_t i = 0; i < count; ++i) value = (value ^ byte[i]) * 1099511628211u;
    }
    template <typename V>
    void Scalar(std::string_view /*name*/, V number) {
      Bytes(&number, sizeof number);
    }
    void Time(std::string_view name, const quor::timeval& time) {
      Scalar(name, time.tv_sec);
      Scalar(name, time.tv_usec);
    }
    void Text(std::string_view name, std::string_view text) {
      Scalar(name, text.size());
      Bytes(text.data(), text.size());
    }
    void Items(std::string_view name, uint32_t count) {
      items = count;
      Scalar(name, count);
    }
    template <typename E>
    void Array(std::string_view name, const E* values) {
      Scalar(name, values != nullptr);
      if (values != nullptr) Bytes(values, sizeof(E) * items);
    }
  };
};

}  // namespace xsetest
