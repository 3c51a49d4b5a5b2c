// The frame search and read, differentially: the same bytes read through a
// buffer that holds them whole (every frame decoded where it lies) and
// through a small one (frames and markers straddle its end and take the
// copying path) must give the same result, consumption and records at every
// call.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <istream>
#include <span>
#include <utility>
#include <vector>

#include "fuzz/checkingtarget.h"
#include "fuzz/chunkedstreambuf.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "tests/support/recordfingerprint.h"

namespace {

// Every record's fingerprint, its arrays checked against their counts.
class CheckedFingerprints final : public xsetest::FingerprintTarget {
 public:
  void HandleMultibeam(const quor::MultibeamRec& record) override {
    checking_.HandleMultibeam(record);
    FingerprintTarget::HandleMultibeam(record);
  }
  void HandleSidescan(const quor::SidescanRec& record) override {
    checking_.HandleSidescan(record);
    FingerprintTarget::HandleSidescan(record);
  }

 private:
  xsefuzz::CheckingTarget checking_;
};

struct Step {
  bool read;
  std::streamoff position;  // -1 once the stream failed
  size_t records;
  bool operator==(const Step&) const = default;
};

// The result of every call, and the records at the end.
struct Run {
  std::vector<Step> steps;
  std::vector<uint64_t> prints;
  bool operator==(const Run&) const = default;
};

Run Steps(std::span<const uint8_t> bytes, size_t chunk) {
  CheckedFingerprints target;
  ElacReader reader(&target, 0);
  xsefuzz::ChunkedStreamBuf buffer(bytes, chunk);
  std::istream stream(&buffer);
  std::vector<Step> steps;
  // Every call consumes at least four bytes or ends the stream.
  for (size_t calls = 0; calls <= bytes.size() / 4 + 1 && stream.good(); ++calls) {
    const bool read = reader.ReadFrame(stream);
    const std::streamoff position = stream.good() ? std::streamoff(stream.tellg()) : -1;
    steps.push_back({read, position, target.prints.size()});
  }
  return {std::move(steps), std::move(target.prints)};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // The first byte picks the small buffer's size; the rest is the stream.
  const size_t chunk = 1 + data[0] % 64;
  const std::span<const uint8_t> bytes(data + 1, size - 1);
  if (Steps(bytes, bytes.size() + 1) != Steps(bytes, chunk)) std::abort();
  return 0;
}
