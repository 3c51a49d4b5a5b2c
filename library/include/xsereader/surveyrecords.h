// Generic survey records: the vocabulary between a sonar-format decoder and
// its consumer. The decoder owns one instance of each record, reuses it from
// frame to frame and hands it out by const reference for one call only.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

namespace quor {

// Seconds since 1970-01-01 00:00:00 UTC and microseconds within the second.
struct timeval {
  int32_t tv_sec = 0;
  int32_t tv_usec = 0;
  friend bool operator==(const timeval&, const timeval&) = default;
};

// Relative time of a record that never went through a frame start.
inline constexpr int32_t kRelTimeNeverSet = INT32_MIN;

struct SensorRec {
  int32_t valid = 0;       // 1 when the record is complete for the current frame
  uint32_t fieldMask = 0;  // which optional fields hold data (bits per record class)
  timeval time;
  int32_t relTime = kRelTimeNeverSet;
  int32_t sensorIndex = 0;  // 0 primary sensor; 1 marks a heading from a bathymetry frame
};

struct NavigationRec : SensorRec {
  // fieldMask: 0x1|0x2 when the datum is WGS84; 0x1 then means the fix is in
  // the geographic pair, otherwise in the projected pair.
  static constexpr uint32_t kWgs84 = 0x1;
  static constexpr uint32_t kWgs84Datum = 0x2;

  double projectedFirst = 0.0;
  double projectedSecond = 0.0;
  double geographicFirst = 0.0;
  double geographicSecond = 0.0;
  double thirdCoordinate = 0.0;
};

struct GyroRec : SensorRec {
  double heading = 0.0;  // degrees
};

struct MotionRec : SensorRec {
  static constexpr uint32_t kRoll = 0x1;
  static constexpr uint32_t kPitch = 0x2;
  static constexpr uint32_t kHeave = 0x4;

  double roll = 0.0;   // degrees
  double pitch = 0.0;  // degrees
  double heave = 0.0;
};

// One bathymetry ping. Per-beam values live in parallel arrays owned by the
// record; a copy owns copies of them.
struct MultibeamRec : SensorRec {
  static constexpr uint32_t kSoundVelocity = 0x1;
  static constexpr uint32_t kPingNumber = 0x2;
  static constexpr uint32_t kTravelTime = 0x8;
  static constexpr uint32_t kAcrossAngle = 0x10;
  static constexpr uint32_t kAlongAngle = 0x20;
  static constexpr uint32_t kDepth = 0x40;
  static constexpr uint32_t kAcrossTrack = 0x80;
  static constexpr uint32_t kAlongTrack = 0x100;
  static constexpr uint32_t kQuality = 0x200;
  static constexpr uint32_t kFrameStarted = 0x400;
  static constexpr uint32_t kAlongAngleAux = 0x800;
  static constexpr uint32_t kExtraFloats = 0x4000;
  static constexpr uint32_t kExtraShorts = 0x8000;
  static constexpr uint32_t kExtraBytes = 0x10000;
  static constexpr uint32_t kDefaultArrayMask = 0x14238;

  uint32_t beamCapacity = 0;  // elements each allocated array holds
  uint32_t beamCount = 0;
  uint32_t arrayMask = kDefaultArrayMask;
  int32_t pingNumber = -1;
  double soundVelocity = 1500.0;
  std::unique_ptr<float[]> travelTime;
  std::unique_ptr<float[]> acrossAngle;
  std::unique_ptr<float[]> alongAngle;
  std::unique_ptr<float[]> acrossTrack;
  std::unique_ptr<float[]> alongTrack;
  std::unique_ptr<float[]> depth;
  std::unique_ptr<float[]> extraFloats;
  std::unique_ptr<int16_t[]> extraShorts;
  std::unique_ptr<uint8_t[]> quality;
  std::unique_ptr<uint8_t[]> extraBytes;

  MultibeamRec() = default;
  MultibeamRec(const MultibeamRec& other);
  MultibeamRec& operator=(const MultibeamRec& other);
  MultibeamRec(MultibeamRec&&) noexcept = default;
  MultibeamRec& operator=(MultibeamRec&&) noexcept = default;
  ~MultibeamRec() = default;

  // Frees every array and allocates those of `mask` with `capacity` elements
  // each (value-initialised). beamCount is set to `capacity`.
  void Reallocate(uint32_t mask, uint32_t capacity);
};

struct SidescanRec : SensorRec {
  static constexpr uint32_t kPingNumber = 0x2;
  static constexpr uint32_t kSamples = 0x4;
  static constexpr uint32_t kSlantRangeIsTime = 0x8;
  static constexpr uint32_t kGainsApplied = 0x10;

  uint32_t sampleCapacity = 0;
  uint32_t samples2Capacity = 0;
  uint32_t sampleCount = 0;
  int32_t pingNumber = -1;
  float slantRange = 0.0f;
  float soundVelocity = 1500.0f;
  float sampleInterval = 0.0f;  // seconds
  std::unique_ptr<float[]> samples;
  std::unique_ptr<float[]> samples2;

  SidescanRec() = default;
  SidescanRec(const SidescanRec& other);
  SidescanRec& operator=(const SidescanRec& other);
  SidescanRec(SidescanRec&&) noexcept = default;
  SidescanRec& operator=(SidescanRec&&) noexcept = default;
  ~SidescanRec() = default;
};

// Sensor name as the generic record stores it: a length byte, then up to 255
// characters, NUL-padded to 256.
struct SensorName {
  uint8_t length = 0;
  char text[256] = {};

  // Stores at most the first 255 characters of `value`.
  void Assign(std::string_view value);
  std::string_view View() const { return {text, length}; }
};

struct ParameterRec : SensorRec {
  static constexpr uint32_t kOffsetX = 0x1;
  static constexpr uint32_t kOffsetY = 0x2;
  static constexpr uint32_t kOffsetZ = 0x4;
  static constexpr uint32_t kMountAngle1 = 0x8;
  static constexpr uint32_t kMountAngle2 = 0x10;
  static constexpr uint32_t kMountAngle3 = 0x20;
  static constexpr uint32_t kLatency = 0x40;
  static constexpr uint32_t kAngleOffset1 = 0x80;
  static constexpr uint32_t kAngleOffset2 = 0x100;
  static constexpr uint32_t kAngleOffset3 = 0x200;
  static constexpr uint32_t kStatus1 = 0x1000;
  static constexpr uint32_t kStatus2 = 0x2000;
  static constexpr uint32_t kStatus3 = 0x4000;

  // Sensor kinds.
  static constexpr int32_t kMotionSensor = 2;
  static constexpr int32_t kHeadingSensor = 5;
  static constexpr int32_t kPositionSensor = 6;
  static constexpr int32_t kDraft = 8;
  static constexpr int32_t kFirstTransducer = 16;
  static constexpr int32_t kFirstOtherDevice = 256;

  int32_t sensorKind = 0;
  int32_t deviceType = 0;
  int32_t deviceId = 0;
  SensorName name;
  double offsetX = 0.0;
  double offsetY = 0.0;
  double offsetZ = 0.0;
  double mountAngle1 = 0.0;
  double mountAngle2 = 0.0;
  double mountAngle3 = 0.0;
  int32_t latencyMs = 0;
  double angleOffset1 = 0.0;
  double angleOffset2 = 0.0;
  double angleOffset3 = 0.0;
  int32_t extraInt = 0;
  uint8_t extraFlag = 1;
  float factor1 = 1.0f;
  float factor2 = 1.0f;
  float factor3 = 1.0f;
};

}  // namespace quor
