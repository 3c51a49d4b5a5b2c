#include "tools/xse/recordjsonwriter.h"

#include <cstdint>

#include "tools/xse/jsontext.h"

namespace xsetool {
namespace {

constexpr size_t kFlushThreshold = 1 << 16;

template <typename T>
void AppendField(std::string& out, const char* key, T value) {
  out += ",\"";
  out += key;
  out += "\":";
  if constexpr (std::is_floating_point_v<T>) {
    AppendJsonNumber(out, value);
  } else if constexpr (std::is_signed_v<T>) {
    AppendJsonNumber(out, static_cast<int64_t>(value));
  } else {
    AppendJsonNumber(out, static_cast<uint64_t>(value));
  }
}

template <typename T>
void AppendArray(std::string& out, const char* key, const T* values, uint32_t count) {
  out += ",\"";
  out += key;
  out += "\":[";
  for (uint32_t i = 0; i < count; ++i) {
    if (i != 0) out += ',';
    if constexpr (std::is_floating_point_v<T>) {
      AppendJsonNumber(out, values[i]);
    } else {
      AppendJsonNumber(out, static_cast<uint64_t>(values[i]));
    }
  }
  out += ']';
}

}  // namespace

void RecordJsonWriter::BeginRecord(const char* kind, const quor::SensorRec& record) {
  line_ += "{\"kind\":\"";
  line_ += kind;
  line_ += '"';
  AppendField(line_, "valid", record.valid);
  AppendField(line_, "fieldMask", record.fieldMask);
  AppendField(line_, "sec", record.time.tv_sec);
  AppendField(line_, "usec", record.time.tv_usec);
  AppendField(line_, "relTime", record.relTime);
  AppendField(line_, "sensorIndex", record.sensorIndex);
}

void RecordJsonWriter::EndLine() {
  line_ += "}\n";
  if (line_.size() >= kFlushThreshold) Flush();
}

bool RecordJsonWriter::Flush() {
  if (!line_.empty()) {
    if (std::fwrite(line_.data(), 1, line_.size(), out_) != line_.size()) writeFailed_ = true;
    line_.clear();
  }
  if (std::fflush(out_) != 0) writeFailed_ = true;
  return !writeFailed_;
}

void RecordJsonWriter::HandleStartTime(const quor::timeval& startTime) {
  line_ += "{\"kind\":\"startTime\"";
  AppendField(line_, "sec", startTime.tv_sec);
  AppendField(line_, "usec", startTime.tv_usec);
  EndLine();
}

void RecordJsonWriter::HandleParameter(const quor::ParameterRec& record) {
  BeginRecord("parameter", record);
  AppendField(line_, "sensorKind", record.sensorKind);
  AppendField(line_, "deviceType", record.deviceType);
  AppendField(line_, "deviceId", record.deviceId);
  line_ += ",\"name\":";
  AppendJsonString(line_, record.name.View());
  AppendField(line_, "offsetX", record.offsetX);
  AppendField(line_, "offsetY", record.offsetY);
  AppendField(line_, "offsetZ", record.offsetZ);
  AppendField(line_, "mountAngle1", record.mountAngle1);
  AppendField(line_, "mountAngle2", record.mountAngle2);
  AppendField(line_, "mountAngle3", record.mountAngle3);
  AppendField(line_, "latencyMs", record.latencyMs);
  AppendField(line_, "angleOffset1", record.angleOffset1);
  AppendField(line_, "angleOffset2", record.angleOffset2);
  AppendField(line_, "angleOffset3", record.angleOffset3);
  EndLine();
}

void RecordJsonWriter::HandlePosition(const quor::NavigationRec& record) {
  BeginRecord("position", record);
  AppendField(line_, "projectedFirst", record.projectedFirst);
  AppendField(line_, "projectedSecond", record.projectedSecond);
  AppendField(line_, "geographicFirst", record.geographicFirst);
  AppendField(line_, "geographicSecond", record.geographicSecond);
  AppendField(line_, "thirdCoordinate", record.thirdCoordinate);
  EndLine();
}

void RecordJsonWriter::HandleGyro(const quor::GyroRec& record) {
  BeginRecord("gyro", record);
  AppendField(line_, "heading", record.heading);
  EndLine();
}

void RecordJsonWriter::HandleMotion(const quor::MotionRec& record) {
  BeginRecord("motion", record);
  AppendField(line_, "roll", record.roll);
  AppendField(line_, "pitch", record.pitch);
  AppendField(line_, "heave", record.heave);
  EndLine();
}

void RecordJsonWriter::HandleMultibeam(const quor::MultibeamRec& record) {
  using MB = quor::MultibeamRec;
  BeginRecord("multibeam", record);
  AppendField(line_, "pingNumber", record.pingNumber);
  AppendField(line_, "soundVelocity", record.soundVelocity);
  AppendField(line_, "beamCount", record.beamCount);
  // An array is printed only when its bit is set and it holds the beams.
  const uint32_t count = record.beamCount;
  const bool fits = count <= record.beamCapacity;
  auto floats = [&](uint32_t bit, const char* key, const std::unique_ptr<float[]>& values) {
    if ((record.fieldMask & bit) && fits && values) AppendArray(line_, key, values.get(), count);
  };
  floats(MB::kTravelTime, "travelTime", record.travelTime);
  floats(MB::kAcrossAngle, "acrossAngle", record.acrossAngle);
  floats(MB::kAlongAngle, "alongAngle", record.alongAngle);
  floats(MB::kDepth, "depth", record.depth);
  floats(MB::kAcrossTrack, "acrossTrack", record.acrossTrack);
  floats(MB::kAlongTrack, "alongTrack", record.alongTrack);
  if ((record.fieldMask & MB::kQuality) && fits && record.quality)
    AppendArray(line_, "quality", record.quality.get(), count);
  EndLine();
}

void RecordJsonWriter::HandleSidescan(const quor::SidescanRec& record) {
  BeginRecord("sidescan", record);
  AppendField(line_, "pingNumber", record.pingNumber);
  AppendField(line_, "slantRange", record.slantRange);
  AppendField(line_, "soundVelocity", record.soundVelocity);
  AppendField(line_, "sampleInterval", record.sampleInterval);
  AppendField(line_, "sampleCount", record.sampleCount);
  const uint32_t count =
      record.samples && record.sampleCount <= record.sampleCapacity ? record.sampleCount : 0;
  AppendArray(line_, "samples", record.samples.get(), count);
  EndLine();
}

}  // namespace xsetool
