// The fields of every survey record as outputs show them, described once.
// `VisitFields(record, visitor)` walks a record's fields in their one order;
// JSON lines, CSV tables and language bindings are all derived from it, so
// they name the same fields in the same order.
//
// A visitor provides:
//   void Time(std::string_view name, const timeval& time);
//   void Scalar(std::string_view name, V value);     // V: an integer or floating type
//   void Text(std::string_view name, std::string_view text);
//   void Items(std::string_view index, uint32_t count);
//   void Array(std::string_view name, const E* values);  // E: float or uint8_t
// `Items` comes once, after every scalar, for records that carry per-beam or
// per-sample arrays: it names the item index ("beam", "sample") and gives the
// number of items each following array holds. An array the record does not
// carry (its field bit is clear, it is not allocated, or the count exceeds
// what was allocated) is visited with nullptr, so readers never go past the
// allocation.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "xsereader/surveyrecords.h"

namespace quor {

template <typename Visitor>
void VisitFields(const timeval& startTime, Visitor& visitor) {
  visitor.Time("time", startTime);
}

template <typename Visitor>
void VisitSensorFields(const SensorRec& record, Visitor& visitor) {
  visitor.Scalar("valid", record.valid);
  visitor.Scalar("fieldMask", record.fieldMask);
  visitor.Time("time", record.time);
  visitor.Scalar("relTime", record.relTime);
  visitor.Scalar("sensorIndex", record.sensorIndex);
}

template <typename Visitor>
void VisitFields(const ParameterRec& record, Visitor& visitor) {
  VisitSensorFields(record, visitor);
  visitor.Scalar("sensorKind", record.sensorKind);
  visitor.Scalar("deviceType", record.deviceType);
  visitor.Scalar("deviceId", record.deviceId);
  visitor.Text("name", record.name.View());
  visitor.Scalar("offsetX", record.offsetX);
  visitor.Scalar("offsetY", record.offsetY);
  visitor.Scalar("offsetZ", record.offsetZ);
  visitor.Scalar("mountAngle1", record.mountAngle1);
  visitor.Scalar("mountAngle2", record.mountAngle2);
  visitor.Scalar("mountAngle3", record.mountAngle3);
  visitor.Scalar("latencyMs", record.latencyMs);
  visitor.Scalar("angleOffset1", record.angleOffset1);
  visitor.Scalar("angleOffset2", record.angleOffset2);
  visitor.Scalar("angleOffset3", record.angleOffset3);
}

template <typename Visitor>
void VisitFields(const NavigationRec& record, Visitor& visitor) {
  VisitSensorFields(record, visitor);
  visitor.Scalar("projectedFirst", record.projectedFirst);
  visitor.Scalar("projectedSecond", record.projectedSecond);
  visitor.Scalar("geographicFirst", record.geographicFirst);
  visitor.Scalar("geographicSecond", record.geographicSecond);
  visitor.Scalar("thirdCoordinate", record.thirdCoordinate);
}

template <typename Visitor>
void VisitFields(const GyroRec& record, Visitor& visitor) {
  VisitSensorFields(record, visitor);
  visitor.Scalar("heading", record.heading);
}

template <typename Visitor>
void VisitFields(const MotionRec& record, Visitor& visitor) {
  VisitSensorFields(record, visitor);
  visitor.Scalar("roll", record.roll);
  visitor.Scalar("pitch", record.pitch);
  visitor.Scalar("heave", record.heave);
}

template <typename Visitor>
void VisitFields(const MultibeamRec& record, Visitor& visitor) {
  using MB = MultibeamRec;
  VisitSensorFields(record, visitor);
  visitor.Scalar("pingNumber", record.pingNumber);
  visitor.Scalar("soundVelocity", record.soundVelocity);
  visitor.Scalar("beamCount", record.beamCount);
  const bool fits = record.beamCount <= record.beamCapacity;
  visitor.Items("beam", fits ? record.beamCount : 0u);
  const auto carried = [&record, fits](uint32_t bit, const auto& values) {
    return fits && (record.fieldMask & bit) != 0 ? values.get() : nullptr;
  };
  visitor.Array("travelTime", carried(MB::kTravelTime, record.travelTime));
  visitor.Array("acrossAngle", carried(MB::kAcrossAngle, record.acrossAngle));
  visitor.Array("alongAngle", carried(MB::kAlongAngle, record.alongAngle));
  visitor.Array("depth", carried(MB::kDepth, record.depth));
  visitor.Array("acrossTrack", carried(MB::kAcrossTrack, record.acrossTrack));
  visitor.Array("alongTrack", carried(MB::kAlongTrack, record.alongTrack));
  visitor.Array("quality", carried(MB::kQuality, record.quality));
}

template <typename Visitor>
void VisitFields(const SidescanRec& record, Visitor& visitor) {
  VisitSensorFields(record, visitor);
  visitor.Scalar("pingNumber", record.pingNumber);
  visitor.Scalar("slantRange", record.slantRange);
  visitor.Scalar("soundVelocity", record.soundVelocity);
  visitor.Scalar("sampleInterval", record.sampleInterval);
  visitor.Scalar("sampleCount", record.sampleCount);
  const bool fits = record.sampleCount <= record.sampleCapacity;
  visitor.Items("sample", fits ? record.sampleCount : 0u);
  visitor.Array("samples", fits ? record.samples.get() : nullptr);
}

}  // namespace quor
