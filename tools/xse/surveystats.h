// SurveyStats: a survey target that tallies what a decoder delivers (records
// by kind, ping sizes, time span, position bounds, parameter records by
// name) for `xse info`. It keeps no record, so its memory does not grow with
// the data.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "xsereader/isurveytarget.h"
#include "xsereader/recordkind.h"

namespace xsetool {

// Smallest and largest of a series of values; empty until the first one.
template <typename T>
struct Range {
  bool empty = true;
  T min{}, max{};
  void Add(T value) {
    if (empty || value < min) min = value;
    if (empty || max < value) max = value;
    empty = false;
  }
};

struct PositionBounds {
  uint64_t fixes = 0;
  Range<double> first, second;
};

struct ParameterTally {
  std::string name;  // as the record holds it; may be empty
  int32_t sensorKind = 0;
  uint64_t records = 0;
  uint64_t valid = 0;
};

struct TimevalOrder {
  quor::timeval time;
  friend bool operator<(const TimevalOrder& a, const TimevalOrder& b) {
    return a.time.tv_sec != b.time.tv_sec ? a.time.tv_sec < b.time.tv_sec
                                          : a.time.tv_usec < b.time.tv_usec;
  }
};

class SurveyStats final : public quor::ISurveyTarget {
 public:
  void HandleStartTime(const quor::timeval& startTime) override;
  void HandleParameter(const quor::ParameterRec& record) override;
  void HandlePosition(const quor::NavigationRec& record) override;
  void HandleGyro(const quor::GyroRec& record) override;
  void HandleMotion(const quor::MotionRec& record) override;
  void HandleMultibeam(const quor::MultibeamRec& record) override;
  void HandleSidescan(const quor::SidescanRec& record) override;

  uint64_t records(quor::RecordKind kind) const { return records_[static_cast<size_t>(kind)]; }
  const Range<uint32_t>& beamsPerPing() const { return beamsPerPing_; }
  const Range<uint32_t>& samplesPerPing() const { return samplesPerPing_; }
  // Of the frame times the decoder reported. Parameter frames report none,
  // and device records can carry a time they never had (a default), so
  // record times are not used.
  const Range<TimevalOrder>& timeSpan() const { return timeSpan_; }
  const PositionBounds& geographic() const { return geographic_; }  // WGS84 fixes
  const PositionBounds& projected() const { return projected_; }    // other datums
  // One entry per name and sensor kind, in the order they first came.
  const std::vector<ParameterTally>& parameters() const { return parameters_; }

 private:
  void Count(quor::RecordKind kind);

  std::array<uint64_t, quor::kAllRecordKinds.size()> records_{};
  Range<uint32_t> beamsPerPing_, samplesPerPing_;
  Range<TimevalOrder> timeSpan_;
  PositionBounds geographic_, projected_;
  std::vector<ParameterTally> parameters_;
};

}  // namespace xsetool
