#include "interpreters/surveyreaderlib/elacreader/parameterdecoder.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace elac {
namespace {

using quor::ParameterRec;

constexpr uint64_t kDraftFixedSize = 56;  // everything but the block of length L
constexpr size_t kDraftOffsetBehindBlock = 16;
constexpr size_t kInstallationSize = 92;
constexpr size_t kTransducerInstallationSize = 76;
constexpr size_t kMountingEntrySize = 90;
constexpr uint8_t kStatusFlagSet = 2;

constexpr uint32_t kLeverArm =
    ParameterRec::kOffsetX | ParameterRec::kOffsetY | ParameterRec::kOffsetZ;
constexpr uint32_t kMounting = kLeverArm | ParameterRec::kMountAngle1 | ParameterRec::kMountAngle2 |
                               ParameterRec::kMountAngle3;
constexpr uint32_t kMruFields =
    kLeverArm | ParameterRec::kAngleOffset1 | ParameterRec::kAngleOffset2;

constexpr int32_t kReceivingTransducer = ParameterRec::kFirstTransducer + 1;

int32_t RoundToMilliseconds(double milliseconds) {
  if (std::isnan(milliseconds)) return 0;
  const double rounded = std::round(milliseconds);  // half away from zero
  constexpr auto kMin = static_cast<double>(std::numeric_limits<int32_t>::min());
  constexpr auto kMax = static_cast<double>(std::numeric_limits<int32_t>::max());
  if (rounded <= kMin) return std::numeric_limits<int32_t>::min();
  if (rounded >= kMax) return std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(rounded);
}

double Degrees(double radians) { return radians * kRadiansToDegrees; }

template <typename T>
bool Read3(ByteCursor& body, std::array<T, 3>& values) {
  return body.Read(values[0]) && body.Read(values[1]) && body.Read(values[2]);
}

template <typename T>
void SetLeverArm(ParameterRec& record, const std::array<T, 3>& xyz) {
  record.offsetX = -static_cast<double>(xyz[0]);
  record.offsetY = xyz[1];
  record.offsetZ = xyz[2];
}

// The records of an installation group carry the time of the frame, taken
// from the element they replace.
struct RecordTime {
  quor::timeval time;
  int32_t relTime = quor::kRelTimeNeverSet;
};

RecordTime TimeOf(const std::vector<ParameterRec>& params) {
  if (params.empty()) return {};
  return {params.front().time, params.front().relTime};
}

ParameterRec NewRecord(const RecordTime& time, int32_t kind, std::string_view name,
                       uint32_t fieldMask, int32_t valid) {
  ParameterRec record;
  record.time = time.time;
  record.relTime = time.relTime;
  record.sensorKind = kind;
  record.name.Assign(name);
  record.fieldMask = fieldMask;
  record.valid = valid;
  return record;
}

// The draft rewrites the first element in place: fields it does not name
// keep what that element held, such as the latency of an earlier position
// record.
bool DecodeDraft(ByteCursor& body, std::vector<ParameterRec>& params) {
  uint32_t blockLength = 0;
  if (!body.Read(blockLength) || body.size() != uint64_t{blockLength} + kDraftFixedSize)
    return false;
  double draft = 0;
  if (!body.Skip(size_t{blockLength} + kDraftOffsetBehindBlock) || !body.Read(draft)) return false;
  if (params.empty()) params.emplace_back();
  ParameterRec& record = params.front();
  record.sensorKind = ParameterRec::kDraft;
  record.name.Assign("XSE Draft");
  record.deviceType = 0;
  record.deviceId = 0;
  record.offsetX = 0;
  record.offsetY = 0;
  record.offsetZ = -draft;
  record.extraInt = 0;
  record.extraFlag = 1;
  record.factor1 = record.factor2 = record.factor3 = 1.0f;
  record.valid = 1;
  return true;
}

// The position, MRU and heading sensors, as both installation groups give
// them (already widened; the latency already rounded).
struct SensorInstallation {
  std::array<double, 3> position{}, mru{};
  double mruAngle1 = 0, mruAngle2 = 0, headingOffset = 0;
  int32_t latencyMs = 0;
};

template <typename T>
std::array<double, 3> Widen(const std::array<T, 3>& values) {
  return {static_cast<double>(values[0]), static_cast<double>(values[1]),
          static_cast<double>(values[2])};
}

// Replaces `params` (keeping its capacity) with the three sensor records;
// the MRU record is params[1].
void SetSensorRecords(const RecordTime& time, const SensorInstallation& sensors,
                      std::vector<ParameterRec>& params) {
  ParameterRec positionRec =
      NewRecord(time, ParameterRec::kPositionSensor, "XSE Position", kLeverArm, 1);
  SetLeverArm(positionRec, sensors.position);
  positionRec.latencyMs = sensors.latencyMs;
  ParameterRec mruRec = NewRecord(time, ParameterRec::kMotionSensor, "XSE MRU", kMruFields, 1);
  SetLeverArm(mruRec, sensors.mru);
  mruRec.angleOffset1 = Degrees(sensors.mruAngle1);
  mruRec.angleOffset2 = Degrees(sensors.mruAngle2);
  ParameterRec headingRec =
      NewRecord(time, ParameterRec::kHeadingSensor, "XSE Heading", ParameterRec::kAngleOffset1, 1);
  headingRec.angleOffset1 = Degrees(sensors.headingOffset);

  params.clear();
  params.push_back(positionRec);
  params.push_back(mruRec);
  params.push_back(headingRec);
}

// Type 9: position, MRU and heading from doubles.
bool DecodeInstallation(ByteCursor& body, std::vector<ParameterRec>& params) {
  double mruThird = 0, delay = 0;
  SensorInstallation sensors;
  if (!body.Read(sensors.mruAngle1) || !body.Read(sensors.mruAngle2) || !body.Read(mruThird) ||
      !body.Read(sensors.headingOffset) || !body.Read(delay) || !Read3(body, sensors.position) ||
      !Read3(body, sensors.mru))
    return false;
  sensors.latencyMs = RoundToMilliseconds(delay * 1000.0);
  SetSensorRecords(TimeOf(params), sensors, params);
  params[1].angleOffset3 = mruThird;  // not an angle: passed on as it is
  return true;
}

// Type 8: as type 9 from floats, plus the two transducers.
bool DecodeTransducerInstallation(ByteCursor& body, std::vector<ParameterRec>& params) {
  float mruAngle1 = 0, mruAngle2 = 0, headingOffset = 0, delay = 0;
  float portMount = 0, starboardMount = 0;
  std::array<float, 3> port{}, starboard{}, position{}, mru{};
  if (!body.Read(mruAngle1) || !body.Read(mruAngle2) || !body.Read(headingOffset) ||
      !body.Read(delay) || !Read3(body, port) || !Read3(body, starboard) || !body.Read(portMount) ||
      !body.Read(starboardMount) || !Read3(body, position) || !Read3(body, mru))
    return false;
  const RecordTime time = TimeOf(params);
  // The product is formed in single precision before rounding, which can
  // differ from the widened value by one millisecond at a half.
  SetSensorRecords(time,
                   {Widen(position), Widen(mru), mruAngle1, mruAngle2, headingOffset,
                    RoundToMilliseconds(delay * 1000.0f)},
                   params);
  ParameterRec portRec =
      NewRecord(time, ParameterRec::kFirstTransducer, "XSE Port Transducer", kMounting, 1);
  SetLeverArm(portRec, port);
  portRec.mountAngle1 = Degrees(portMount);
  ParameterRec starboardRec =
      NewRecord(time, kReceivingTransducer, "XSE Stbd Transducer", kMounting, 0);
  SetLeverArm(starboardRec, starboard);
  starboardRec.mountAngle1 = Degrees(starboardMount);

  params.push_back(portRec);
  params.push_back(starboardRec);
  return true;
}

bool IsTransducerCode(uint32_t code) {
  return code == 1000 || code == 2000 || code == 2001 || code == 3000;
}
constexpr uint32_t kOtherDeviceCode = 4000;

// Type 4: K identifiers, then K type codes.
bool DecodeDeviceList(ByteCursor& body, std::vector<ParameterRec>& params) {
  uint32_t count = 0;
  if (!body.Read(count) || count > kMaxDeviceRecords) return false;
  const auto identifiers = body.TakeArray<uint32_t>(count);
  const auto codes = body.TakeArray<uint32_t>(count);
  if (!identifiers || !codes) return false;
  params.resize(count);
  int32_t transducers = 0, others = 0;
  for (size_t i = 0; i < count; ++i) {
    ParameterRec& record = params[i];
    const uint32_t code = (*codes)[i];
    record.deviceId = static_cast<int32_t>((*identifiers)[i]);
    record.deviceType = static_cast<int32_t>(code);
    if (IsTransducerCode(code)) {
      record.sensorKind = ParameterRec::kFirstTransducer + transducers++;
      record.fieldMask |= ParameterRec::kStatus1 | ParameterRec::kStatus2;
      record.valid = 1;
    } else if (code == kOtherDeviceCode) {
      record.sensorKind = ParameterRec::kFirstOtherDevice + others++;
      record.valid = 1;
    }
  }
  return true;
}

// Which elements a mounting group has already placed. Sized for the most
// elements there can be, so it needs no allocation and cannot be overrun.
using MountedSet = std::bitset<kMaxDeviceRecords>;

// The element a mounting entry applies to: the first unplaced one with the
// identifier; failing that, the first placed one, whose earlier placement is
// kept in a copy appended to the sequence (the copy starts unplaced).
std::optional<size_t> FindMountedElement(std::vector<ParameterRec>& params,
                                         const MountedSet& mounted, uint32_t identifier) {
  const size_t candidates = std::min(params.size(), kMaxDeviceRecords);
  std::optional<size_t> placed;
  for (size_t i = 0; i < candidates; ++i) {
    if (static_cast<uint32_t>(params[i].deviceId) != identifier) continue;
    if (!mounted[i]) return i;
    if (!placed) placed = i;
  }
  if (!placed || params.size() >= kMaxDeviceRecords) return std::nullopt;
  const ParameterRec earlier = params[*placed];
  params.push_back(earlier);
  return placed;
}

// Puts `prefix` in front of the name, cut at the name's 255 characters.
void PrefixName(quor::SensorName& name, std::string_view prefix) {
  char text[sizeof name.text + 8];
  std::memcpy(text, prefix.data(), prefix.size());
  std::memcpy(text + prefix.size(), name.text, name.length);
  name.Assign({text, prefix.size() + name.length});
}

struct MountingEntry {
  uint32_t identifier = 0;
  uint8_t transmit = 0;
  std::array<double, 3> angles{};
  std::array<double, 3> leverArm{};
};

bool ReadMountingEntry(ByteCursor& entry, MountingEntry& values) {
  return entry.Read(values.identifier) && entry.Skip(4) && entry.Read(values.transmit) &&
         entry.Skip(1) && Read3(entry, values.angles) && Read3(entry, values.leverArm);
}

// Type 10: E entries of 90 bytes.
bool DecodeMounting(ByteCursor& body, std::vector<ParameterRec>& params) {
  if (params.empty()) return false;
  uint32_t count = 0;
  if (!body.Read(count) || count > kMaxDeviceRecords) return false;
  auto entries = body.Take(count * kMountingEntrySize);
  if (!entries) return false;
  MountedSet mounted;
  for (uint32_t e = 0; e < count; ++e) {
    auto entry = entries->Take(kMountingEntrySize);
    MountingEntry values;
    if (!entry || !ReadMountingEntry(*entry, values)) return true;
    const auto index = FindMountedElement(params, mounted, values.identifier);
    if (!index) continue;
    ParameterRec& record = params[*index];
    // A transducer used for receiving counts as the receiver.
    if (record.sensorKind == ParameterRec::kFirstTransducer && values.transmit == 0) {
      record.sensorKind = kReceivingTransducer;
      PrefixName(record.name, "RX_");
    }
    record.mountAngle1 = Degrees(values.angles[0]);
    record.mountAngle2 = Degrees(values.angles[1]);
    record.mountAngle3 = Degrees(values.angles[2]);
    SetLeverArm(record, values.leverArm);
    record.fieldMask |= kMounting;
    mounted.set(*index);
  }
  return true;
}

// Type 11: three status bytes for each transducer in device-list order.
// Decoded when at least one element is a transducer with an entry.
bool DecodeDeviceStatus(ByteCursor& body, std::vector<ParameterRec>& params) {
  uint32_t count = 0;
  if (!body.Read(count) || count == 0) return false;
  const auto status = body.TakeArray<uint8_t>(uint64_t{count} * 3);
  if (!status) return false;
  bool matched = false;
  // Walks the elements rather than the entries: the work stays bounded by
  // the records however large the count.
  for (ParameterRec& record : params) {
    const int64_t entry = int64_t{record.sensorKind} - ParameterRec::kFirstTransducer;
    if (entry < 0 || entry >= int64_t{count}) continue;
    matched = true;
    const size_t at = static_cast<size_t>(entry) * 3;
    if ((*status)[at] == kStatusFlagSet) record.fieldMask |= ParameterRec::kStatus1;
    if ((*status)[at + 1] == kStatusFlagSet) record.fieldMask |= ParameterRec::kStatus2;
    if ((*status)[at + 2] == kStatusFlagSet) record.fieldMask |= ParameterRec::kStatus3;
  }
  return matched;
}

}  // namespace

bool DecodeInstallationGroup(ByteCursor body, std::vector<ParameterRec>& immediateParams) {
  uint32_t type = 0;
  if (!body.Read(type)) return false;
  switch (type) {
    case kDraftGroup:
      return DecodeDraft(body, immediateParams);
    case kInstallationGroup:
      return body.size() == kInstallationSize && DecodeInstallation(body, immediateParams);
    case kTransducerInstallationGroup:
      return body.size() == kTransducerInstallationSize &&
             DecodeTransducerInstallation(body, immediateParams);
    default:
      return false;
  }
}

bool DecodeDeviceGroup(ByteCursor body, std::vector<ParameterRec>& frameParams) {
  uint32_t type = 0;
  if (!body.Read(type)) return false;
  switch (type) {
    case kDeviceListGroup:
      return DecodeDeviceList(body, frameParams);
    case kMountingGroup:
      return DecodeMounting(body, frameParams);
    case kDeviceStatusGroup:
      return DecodeDeviceStatus(body, frameParams);
    default:
      return false;
  }
}

}  // namespace elac
