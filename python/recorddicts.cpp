#include "python/recorddicts.h"

#include <pybind11/numpy.h>

namespace py = pybind11;

namespace xsepython {
namespace {

py::dict Begin(const char* kind, const quor::SensorRec& r) {
  py::dict d;
  d["kind"] = kind;
  d["valid"] = r.valid;
  d["fieldMask"] = r.fieldMask;
  d["sec"] = r.time.tv_sec;
  d["usec"] = r.time.tv_usec;
  d["relTime"] = r.relTime;
  d["sensorIndex"] = r.sensorIndex;
  return d;
}

template <typename T>
py::array_t<T> Array(const T* values, uint32_t count) {
  return py::array_t<T>(static_cast<py::ssize_t>(count), values);
}

py::dict MultibeamDict(const quor::MultibeamRec& r) {
  using MB = quor::MultibeamRec;
  py::dict d = Begin("multibeam", r);
  d["pingNumber"] = r.pingNumber;
  d["soundVelocity"] = r.soundVelocity;
  d["beamCount"] = r.beamCount;
  // Present exactly when `xse dump` prints the array.
  const bool fits = r.beamCount <= r.beamCapacity;
  const auto add = [&](uint32_t bit, const char* key, const auto& values) {
    if ((r.fieldMask & bit) != 0 && fits && values) d[key] = Array(values.get(), r.beamCount);
  };
  add(MB::kTravelTime, "travelTime", r.travelTime);
  add(MB::kAcrossAngle, "acrossAngle", r.acrossAngle);
  add(MB::kAlongAngle, "alongAngle", r.alongAngle);
  add(MB::kDepth, "depth", r.depth);
  add(MB::kAcrossTrack, "acrossTrack", r.acrossTrack);
  add(MB::kAlongTrack, "alongTrack", r.alongTrack);
  add(MB::kQuality, "quality", r.quality);
  return d;
}

py::dict SidescanDict(const quor::SidescanRec& r) {
  py::dict d = Begin("sidescan", r);
  d["pingNumber"] = r.pingNumber;
  d["slantRange"] = r.slantRange;
  d["soundVelocity"] = r.soundVelocity;
  d["sampleInterval"] = r.sampleInterval;
  d["sampleCount"] = r.sampleCount;
  const uint32_t count = r.samples && r.sampleCount <= r.sampleCapacity ? r.sampleCount : 0;
  d["samples"] = Array(r.samples.get(), count);
  return d;
}

}  // namespace

py::dict ParameterDict(const quor::ParameterRec& r) {
  py::dict d = Begin("parameter", r);
  d["sensorKind"] = r.sensorKind;
  d["deviceType"] = r.deviceType;
  d["deviceId"] = r.deviceId;
  // Names are 8-bit text; `xse dump` writes each byte as the code point of
  // the same value, which is what Latin-1 decoding gives.
  const std::string_view name = r.name.View();
  d["name"] = py::reinterpret_steal<py::str>(
      PyUnicode_DecodeLatin1(name.data(), static_cast<py::ssize_t>(name.size()), nullptr));
  d["offsetX"] = r.offsetX;
  d["offsetY"] = r.offsetY;
  d["offsetZ"] = r.offsetZ;
  d["mountAngle1"] = r.mountAngle1;
  d["mountAngle2"] = r.mountAngle2;
  d["mountAngle3"] = r.mountAngle3;
  d["latencyMs"] = r.latencyMs;
  d["angleOffset1"] = r.angleOffset1;
  d["angleOffset2"] = r.angleOffset2;
  d["angleOffset3"] = r.angleOffset3;
  return d;
}

py::dict RecordDict(const xsereader::Record& record) {
  using xsereader::RecordKind;
  switch (record.kind) {
    case RecordKind::kStartTime: {
      py::dict d;
      d["kind"] = "startTime";
      d["sec"] = record.startTime->tv_sec;
      d["usec"] = record.startTime->tv_usec;
      return d;
    }
    case RecordKind::kParameter:
      return ParameterDict(*record.parameter);
    case RecordKind::kPosition: {
      const quor::NavigationRec& r = *record.position;
      py::dict d = Begin("position", r);
      d["projectedFirst"] = r.projectedFirst;
      d["projectedSecond"] = r.projectedSecond;
      d["geographicFirst"] = r.geographicFirst;
      d["geographicSecond"] = r.geographicSecond;
      d["thirdCoordinate"] = r.thirdCoordinate;
      return d;
    }
    case RecordKind::kGyro: {
      py::dict d = Begin("gyro", *record.gyro);
      d["heading"] = record.gyro->heading;
      return d;
    }
    case RecordKind::kMotion: {
      const quor::MotionRec& r = *record.motion;
      py::dict d = Begin("motion", r);
      d["roll"] = r.roll;
      d["pitch"] = r.pitch;
      d["heave"] = r.heave;
      return d;
    }
    case RecordKind::kMultibeam:
      return MultibeamDict(*record.multibeam);
    case RecordKind::kSidescan:
      return SidescanDict(*record.sidescan);
  }
  return {};
}

}  // namespace xsepython
