// The frame search and read, differentially: the same bytes read through a
// buffer that holds them whole (every frame decoded where it lies) and
// through a small one (frames and markers straddle its end and take the
// copying path) must give the same result, consumption and records at every
// call.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <span>
#include <vector>

#include "fuzz/checkingtarget.h"
#include "fuzz/chunkedstreambuf.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"

namespace {

// Folds every record into a hash, in call order.
class HashingTarget final : public quor::ISurveyTarget {
 public:
  void HandleStartTime(const quor::timeval& time) override { Mix(1u, time); }
  void HandleParameter(const quor::ParameterRec& record) override {
    Sensor(2, record);
    MixBytes(record.name.View().data(), record.name.View().size());
  }
  void HandlePosition(const quor::NavigationRec& record) override {
    Sensor(3, record, record.geographicFirst);
  }
  void HandleGyro(const quor::GyroRec& record) override { Sensor(4, record, record.heading); }
  void HandleMotion(const quor::MotionRec& record) override { Sensor(5, record, record.roll); }
  void HandleMultibeam(const quor::MultibeamRec& record) override {
    checking_.HandleMultibeam(record);
    Sensor(6, record, record.beamCount);
    if (record.depth) MixBytes(record.depth.get(), sizeof(float) * record.beamCount);
  }
  void HandleSidescan(const quor::SidescanRec& record) override {
    checking_.HandleSidescan(record);
    Sensor(7, record, record.sampleCount);
    if (record.samples) MixBytes(record.samples.get(), sizeof(float) * record.sampleCount);
  }
  uint64_t hash = 1469598103934665603u;

 private:
  template <typename... Values>
  void Sensor(uint32_t kind, const quor::SensorRec& record, const Values&... values) {
    Mix(kind, record.time, record.valid, record.fieldMask, record.sensorIndex, values...);
  }
  template <typename... Values>
  void Mix(const Values&... values) {
    (MixBytes(&values, sizeof values), ...);
  }
  void MixBytes(const void* bytes, size_t count) {
    const auto* p = static_cast<const uint8_t*>(bytes);
    for (size_t i = 0; i < count; ++i) hash = (hash ^ p[i]) * 1099511628211u;
  }
  xsefuzz::CheckingTarget checking_;
};

struct Step {
  bool read;
  std::streamoff position;  // -1 once the stream failed
  uint64_t records;
  bool operator==(const Step&) const = default;
};

std::vector<Step> Steps(std::span<const uint8_t> bytes, size_t chunk) {
  HashingTarget target;
  ElacReader reader(&target, 0);
  xsefuzz::ChunkedStreamBuf buffer(bytes, chunk);
  std::istream stream(&buffer);
  std::vector<Step> steps;
  // Every call consumes at least four bytes or ends the stream.
  for (size_t calls = 0; calls <= bytes.size() / 4 + 1 && stream.good(); ++calls) {
    const bool read = reader.ReadFrame(stream);
    const std::streamoff position = stream.good() ? std::streamoff(stream.tellg()) : -1;
    steps.push_back({read, position, target.hash});
  }
  return steps;
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
