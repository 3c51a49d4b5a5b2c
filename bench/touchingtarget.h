// A consumer that reads every value of every record it is handed, as a real
// one would, so a benchmark measures delivery and not a decoder whose
// results nobody looks at.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "xsereader/isurveytarget.h"

namespace xsebench {

class TouchingTarget final : public quor::ISurveyTarget {
 public:
  void HandleStartTime(const quor::timeval& time) override { sum_ += time.tv_usec; }
  void HandleParameter(const quor::ParameterRec& record) override {
    ++records_;
    sum_ += record.offsetX + record.offsetY + record.offsetZ + record.name.length;
  }
  void HandlePosition(const quor::NavigationRec& record) override {
    ++records_;
    sum_ += record.geographicFirst + record.geographicSecond + record.projectedFirst +
            record.projectedSecond + record.thirdCoordinate;
  }
  void HandleGyro(const quor::GyroRec& record) override {
    ++records_;
    sum_ += record.heading;
  }
  void HandleMotion(const quor::MotionRec& record) override {
    ++records_;
    sum_ += record.roll + record.pitch + record.heave;
  }
  void HandleMultibeam(const quor::MultibeamRec& record) override {
    ++records_;
    const bool arrays = record.depth && record.acrossTrack && record.alongTrack &&
                        record.travelTime && record.acrossAngle && record.alongAngle &&
                        record.quality;
    const size_t beams = arrays && record.beamCount <= record.beamCapacity ? record.beamCount : 0;
    Lanes lanes{};
    for (const float* array :
         {record.depth.get(), record.acrossTrack.get(), record.alongTrack.get(),
          record.travelTime.get(), record.acrossAngle.get(), record.alongAngle.get()})
      FoldValues(array, beams, lanes);
    FoldBytes(record.quality.get(), beams, lanes);
    Fold(lanes);
  }
  void HandleSidescan(const quor::SidescanRec& record) override {
    ++records_;
    const size_t samples =
        record.samples && record.sampleCount <= record.sampleCapacity ? record.sampleCount : 0;
    Lanes lanes{};
    FoldValues(record.samples.get(), samples, lanes);
    Fold(lanes);
  }

  uint64_t records() const { return records_; }
  // Depends on every value handed over, so none of the reading can be left out.
  double sum() const { return sum_ + mix_; }

 private:
  // Folding the bits together reads each value at memory speed; a floating
  // sum would chain every addition to the one before and measure the
  // consumer instead of the decoder. The fixed-width inner loops over eight
  // lanes are what the compiler turns into vector code at -O2.
  static constexpr size_t kLanes = 8;
  using Lanes = std::array<uint32_t, kLanes>;
  static uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }
  template <typename T>
  static void FoldValues(const T* values, size_t count, Lanes& lanes) {
    size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
      for (size_t j = 0; j < kLanes; ++j) lanes[j] ^= Bits(values[i + j]);
    }
    for (; i < count; ++i) lanes[0] ^= Bits(values[i]);
  }
  // Bytes go four to a lane, a whole set of lanes at a time.
  static void FoldBytes(const uint8_t* bytes, size_t count, Lanes& lanes) {
    size_t i = 0;
    for (; i + sizeof(Lanes) <= count; i += sizeof(Lanes)) {
      Lanes chunk;
      std::memcpy(chunk.data(), bytes + i, sizeof(Lanes));
      for (size_t j = 0; j < kLanes; ++j) lanes[j] ^= chunk[j];
    }
    for (; i < count; ++i) lanes[0] ^= bytes[i];
  }
  void Fold(const Lanes& lanes) {
    for (const uint32_t lane : lanes) mix_ ^= lane;
  }

  uint64_t records_ = 0;
  double sum_ = 0;
  uint32_t mix_ = 0;
};

}  // namespace xsebench
