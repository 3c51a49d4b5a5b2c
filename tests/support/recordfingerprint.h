// A target that keeps one number per record: its kind, time and the values
// that tell one frame's records from another's. Two decodes that deliver
// the same records in the same order give the same list, so a frame lost,
// repeated or reordered shows.
#pragma once

#include <cstdint>
#include <cstring>
#include <vector>

#include "interpreters/surveyreaderlib/isurveytarget.h"

namespace xsetest {

class FingerprintTarget final : public quor::ISurveyTarget {
 public:
  void HandleStartTime(const quor::timeval& time) override { Add(0, time, 0); }
  void HandleParameter(const quor::ParameterRec& record) override {
    Add(1, record.time, record.name.length);
  }
  void HandlePosition(const quor::NavigationRec& record) override { Add(2, record.time, 0); }
  void HandleGyro(const quor::GyroRec& record) override {
    Add(3, record.time, Bits(record.heading));
  }
  void HandleMotion(const quor::MotionRec& record) override { Add(4, record.time, 0); }
  void HandleMultibeam(const quor::MultibeamRec& record) override {
    uint64_t values = record.beamCount;
    for (uint32_t i = 0; record.depth && i < record.beamCount; ++i)
      values = values * 31 + Bits(record.depth[i]);
    Add(5, record.time, values);
  }
  void HandleSidescan(const quor::SidescanRec& record) override {
    uint64_t values = record.sampleCount;
    for (uint32_t i = 0; record.samples && i < record.sampleCount; ++i)
      values = values * 31 + Bits(record.samples[i]);
    Add(6, record.time, values);
  }

  std::vector<uint64_t> prints;

 private:
  template <typename T>
  static uint64_t Bits(T value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value < sizeof bits ? sizeof value : sizeof bits);
    return bits;
  }
  void Add(uint64_t kind, const quor::timeval& time, uint64_t values) {
    uint64_t print = kind;
    print = print * 1000003 + static_cast<uint64_t>(time.tv_sec);
    print = print * 1000003 + static_cast<uint64_t>(time.tv_usec);
    prints.push_back(print * 1000003 + values);
  }
};

}  // namespace xsetest
