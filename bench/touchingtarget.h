// A consumer that reads every value of every record it is handed, as a real
// one would, so a benchmark measures delivery and not a decoder whose
// results nobody looks at.
#pragma once

#include <bit>
#include <cstdint>

#include "interpreters/surveyreaderlib/isurveytarget.h"

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
    const uint32_t beams = arrays && record.beamCount <= record.beamCapacity ? record.beamCount : 0;
    uint32_t mix = 0;
    for (uint32_t i = 0; i < beams; ++i) {
      mix ^= Bits(record.depth[i]) ^ Bits(record.acrossTrack[i]) ^ Bits(record.alongTrack[i]) ^
             Bits(record.travelTime[i]) ^ Bits(record.acrossAngle[i]) ^ Bits(record.alongAngle[i]) ^
             record.quality[i];
    }
    mix_ ^= mix;
  }
  void HandleSidescan(const quor::SidescanRec& record) override {
    ++records_;
    const uint32_t samples =
        record.samples && record.sampleCount <= record.sampleCapacity ? record.sampleCount : 0;
    uint32_t mix = 0;
    for (uint32_t i = 0; i < samples; ++i) mix ^= Bits(record.samples[i]);
    mix_ ^= mix;
  }

  uint64_t records() const { return records_; }
  // Depends on every value handed over, so none of the reading can be left out.
  double sum() const { return sum_ + mix_; }

 private:
  // Folding the bits together reads each value at memory speed; a floating
  // sum would chain every addition to the one before and measure the
  // consumer instead of the decoder.
  static uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }

  uint64_t records_ = 0;
  double sum_ = 0;
  uint32_t mix_ = 0;
};

}  // namespace xsebench
