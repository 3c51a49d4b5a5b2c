// SurveyArrays: a survey target that gathers every record into columns, the
// per-record values as rows of plain structs and the per-beam and per-sample
// values as flat runs, one ping after the other. The Python module hands
// these buffers to numpy as they are, so reading a survey creates no Python
// object per record. Nothing here knows Python.
#pragma once

#include <algorithm>
#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "platform/pagebuffer.h"
#include "xsereader/isurveytarget.h"

namespace xsepython {

// Seconds since 1970 as one float64: a double holds a 2020s time to well
// under a microsecond, so sec and usec are recovered by rounding.
inline double Seconds(const quor::timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

// The fields every record row starts with (those of quor::SensorRec).
struct RowHeader {
  double time;
  int32_t valid;
  uint32_t fieldMask;
  int32_t relTime;
  int32_t sensorIndex;
};

struct PositionRow {
  RowHeader header;
  double projectedFirst, projectedSecond, geographicFirst, geographicSecond, thirdCoordinate;
};

struct HeadingRow {
  RowHeader header;
  double heading;
};

struct AttitudeRow {
  RowHeader header;
  double roll, pitch, heave;
};

struct PingRow {
  RowHeader header;
  int32_t pingNumber;
  uint32_t beamCount;
  double soundVelocity;
};

struct SidescanRow {
  RowHeader header;
  int32_t pingNumber;
  uint32_t sampleCount;
  float slantRange, soundVelocity, sampleInterval;
};

// A growing array of plain values on a PageBuffer: the per-beam and
// per-sample runs reach hundreds of MiB, and a vector would copy them on
// every doubling and fault them in page by page.
template <typename T>
class PagedArray {
 public:
  size_t size() const { return size_; }
  const T* data() const { return static_cast<const T*>(buffer_.data()); }
  // Appends `count` values from `values`, or `count` times `fill` when
  // `values` is null. Throws std::bad_alloc when memory runs out.
  void Append(const T* values, size_t count, T fill) {
    if (!buffer_.Reserve((size_ + count) * sizeof(T))) throw std::bad_alloc();
    T* at = static_cast<T*>(buffer_.data()) + size_;
    if (values != nullptr) {
      std::copy(values, values + count, at);
    } else {
      std::fill(at, at + count, fill);
    }
    size_ += count;
  }
  // The memory, for the caller to free with platform::PageBuffer::Free.
  platform::PageBuffer::Block Release() {
    size_ = 0;
    return buffer_.Release();
  }

 private:
  platform::PageBuffer buffer_;
  size_t size_ = 0;
};

// Values of one kind for every ping, ping after ping: `values` holds
// `counts[i]` values for ping i (NaN for a ping that does not carry them).
template <typename T>
struct Runs {
  PagedArray<T> values;
  std::vector<uint32_t> counts;
  uint32_t widest = 0;
  // Whether every ping has `widest` values, so `values` is already the
  // pings x widest table.
  bool Rectangular() const { return values.size() == counts.size() * size_t{widest}; }
};

// The per-beam arrays of a multibeam ping, in the order `xse dump` names them.
enum BeamField {
  kTravelTime,
  kAcrossAngle,
  kAlongAngle,
  kDepth,
  kAcrossTrack,
  kAlongTrack,
  kBeamFloatFields
};

class SurveyArrays final : public quor::ISurveyTarget {
 public:
  static const char* BeamFieldName(int field);

  void HandleStartTime(const quor::timeval& startTime) override;
  void HandleParameter(const quor::ParameterRec& record) override;
  void HandlePosition(const quor::NavigationRec& record) override;
  void HandleGyro(const quor::GyroRec& record) override;
  void HandleMotion(const quor::MotionRec& record) override;
  void HandleMultibeam(const quor::MultibeamRec& record) override;
  void HandleSidescan(const quor::SidescanRec& record) override;

  std::vector<double> startTimes;
  std::vector<quor::ParameterRec> parameters;
  std::vector<PositionRow> positions;
  std::vector<HeadingRow> headings;
  std::vector<AttitudeRow> attitude;
  std::vector<PingRow> pings;
  Runs<float> beams[kBeamFloatFields];
  Runs<uint8_t> quality;  // 0 (no quality) where a ping has none
  std::vector<SidescanRow> sidescanPings;
  Runs<float> samples;
};

}  // namespace xsepython
