#include "python/surveyarrays.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace xsepython {
namespace {

RowHeader Header(const quor::SensorRec& record) {
  return {Seconds(record.time), record.valid, record.fieldMask, record.relTime, record.sensorIndex};
}

// Appends one ping's run: its values when it carries them, else `count`
// fill values, so every ping of a field has as many entries as beams.
template <typename T>
void AppendRun(Runs<T>& runs, const T* values, uint32_t count, T fill) {
  runs.values.Append(values, count, fill);
  runs.counts.push_back(count);
  runs.widest = std::max(runs.widest, count);
}

constexpr float kMissing = std::numeric_limits<float>::quiet_NaN();

}  // namespace

const char* SurveyArrays::BeamFieldName(int field) {
  static constexpr const char* kNames[kBeamFloatFields] = {
      "travelTime", "acrossAngle", "alongAngle", "depth", "acrossTrack", "alongTrack"};
  return kNames[field];
}

void SurveyArrays::HandleStartTime(const quor::timeval& startTime) {
  startTimes.push_back(Seconds(startTime));
}

void SurveyArrays::HandleParameter(const quor::ParameterRec& record) {
  parameters.push_back(record);
}

void SurveyArrays::HandlePosition(const quor::NavigationRec& r) {
  positions.push_back({Header(r), r.projectedFirst, r.projectedSecond, r.geographicFirst,
                       r.geographicSecond, r.thirdCoordinate});
}

void SurveyArrays::HandleGyro(const quor::GyroRec& r) {
  headings.push_back({Header(r), r.heading});
}

void SurveyArrays::HandleMotion(const quor::MotionRec& r) {
  attitude.push_back({Header(r), r.roll, r.pitch, r.heave});
}

void SurveyArrays::HandleMultibeam(const quor::MultibeamRec& r) {
  using MB = quor::MultibeamRec;
  pings.push_back({Header(r), r.pingNumber, r.beamCount, r.soundVelocity});
  // An array counts only when its bit is set and it holds the beams: what
  // `xse dump` prints.
  const bool fits = r.beamCount <= r.beamCapacity;
  const uint32_t count = fits ? r.beamCount : 0;
  const auto carried = [&](uint32_t bit, const auto& array) {
    return (r.fieldMask & bit) != 0 && fits && array ? array.get() : nullptr;
  };
  AppendRun(beams[kTravelTime], carried(MB::kTravelTime, r.travelTime), count, kMissing);
  AppendRun(beams[kAcrossAngle], carried(MB::kAcrossAngle, r.acrossAngle), count, kMissing);
  AppendRun(beams[kAlongAngle], carried(MB::kAlongAngle, r.alongAngle), count, kMissing);
  AppendRun(beams[kDepth], carried(MB::kDepth, r.depth), count, kMissing);
  AppendRun(beams[kAcrossTrack], carried(MB::kAcrossTrack, r.acrossTrack), count, kMissing);
  AppendRun(beams[kAlongTrack], carried(MB::kAlongTrack, r.alongTrack), count, kMissing);
  AppendRun(quality, carried(MB::kQuality, r.quality), count, uint8_t{0});
}

void SurveyArrays::HandleSidescan(const quor::SidescanRec& r) {
  sidescanPings.push_back(
      {Header(r), r.pingNumber, r.sampleCount, r.slantRange, r.soundVelocity, r.sampleInterval});
  const bool fits = r.samples && r.sampleCount <= r.sampleCapacity;
  AppendRun(samples, fits ? r.samples.get() : nullptr, fits ? r.sampleCount : 0, kMissing);
}

}  // namespace xsepython
