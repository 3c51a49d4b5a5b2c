#include "xsereader/surveyrecords.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace quor {
namespace {

template <typename T>
std::unique_ptr<T[]> CopyArray(const std::unique_ptr<T[]>& source, uint32_t count) {
  if (!source || count == 0) return nullptr;
  auto copy = std::make_unique<T[]>(count);
  std::copy_n(source.get(), count, copy.get());
  return copy;
}

// Copies `count` values into `to`, reusing its storage when it already
// holds exactly that many (`toCount`): a record copied into the same slot
// frame after frame allocates only the first time.
template <typename T>
void AssignArray(std::unique_ptr<T[]>& to, uint32_t toCount, const std::unique_ptr<T[]>& from,
                 uint32_t count) {
  if (!from || count == 0) {
    to.reset();
    return;
  }
  if (!to || toCount != count) to = std::make_unique_for_overwrite<T[]>(count);
  std::copy_n(from.get(), count, to.get());
}

template <typename T>
std::unique_ptr<T[]> AllocateIf(uint32_t mask, uint32_t bit, uint32_t count) {
  if ((mask & bit) == 0 || count == 0) return nullptr;
  return std::make_unique<T[]>(count);
}

}  // namespace

MultibeamRec::MultibeamRec(const MultibeamRec& other)
    : SensorRec(other),
      beamCapacity(other.beamCapacity),
      beamCount(other.beamCount),
      arrayMask(other.arrayMask),
      pingNumber(other.pingNumber),
      soundVelocity(other.soundVelocity),
      travelTime(CopyArray(other.travelTime, other.beamCapacity)),
      acrossAngle(CopyArray(other.acrossAngle, other.beamCapacity)),
      alongAngle(CopyArray(other.alongAngle, other.beamCapacity)),
      acrossTrack(CopyArray(other.acrossTrack, other.beamCapacity)),
      alongTrack(CopyArray(other.alongTrack, other.beamCapacity)),
      depth(CopyArray(other.depth, other.beamCapacity)),
      extraFloats(CopyArray(other.extraFloats, other.beamCapacity)),
      extraShorts(CopyArray(other.extraShorts, other.beamCapacity)),
      quality(CopyArray(other.quality, other.beamCapacity)),
      extraBytes(CopyArray(other.extraBytes, other.beamCapacity)) {}

MultibeamRec& MultibeamRec::operator=(const MultibeamRec& other) {
  if (this == &other) return *this;
  // No beams until every array is in place, should an allocation fail.
  const uint32_t had = std::exchange(beamCapacity, 0);
  beamCount = 0;
  AssignArray(travelTime, had, other.travelTime, other.beamCapacity);
  AssignArray(acrossAngle, had, other.acrossAngle, other.beamCapacity);
  AssignArray(alongAngle, had, other.alongAngle, other.beamCapacity);
  AssignArray(acrossTrack, had, other.acrossTrack, other.beamCapacity);
  AssignArray(alongTrack, had, other.alongTrack, other.beamCapacity);
  AssignArray(depth, had, other.depth, other.beamCapacity);
  AssignArray(extraFloats, had, other.extraFloats, other.beamCapacity);
  AssignArray(extraShorts, had, other.extraShorts, other.beamCapacity);
  AssignArray(quality, had, other.quality, other.beamCapacity);
  AssignArray(extraBytes, had, other.extraBytes, other.beamCapacity);
  SensorRec::operator=(other);
  beamCapacity = other.beamCapacity;
  beamCount = other.beamCount;
  arrayMask = other.arrayMask;
  pingNumber = other.pingNumber;
  soundVelocity = other.soundVelocity;
  return *this;
}

void MultibeamRec::Reallocate(uint32_t mask, uint32_t capacity) {
  // Free first so the old and new arrays never coexist.
  travelTime.reset();
  acrossAngle.reset();
  alongAngle.reset();
  acrossTrack.reset();
  alongTrack.reset();
  depth.reset();
  extraFloats.reset();
  extraShorts.reset();
  quality.reset();
  extraBytes.reset();
  arrayMask = mask;
  travelTime = AllocateIf<float>(mask, kTravelTime, capacity);
  acrossAngle = AllocateIf<float>(mask, kAcrossAngle, capacity);
  alongAngle = AllocateIf<float>(mask, kAlongAngle, capacity);
  acrossTrack = AllocateIf<float>(mask, kAcrossTrack, capacity);
  alongTrack = AllocateIf<float>(mask, kAlongTrack, capacity);
  depth = AllocateIf<float>(mask, kDepth, capacity);
  extraFloats = AllocateIf<float>(mask, kExtraFloats, capacity);
  extraShorts = AllocateIf<int16_t>(mask, kExtraShorts, capacity);
  quality = AllocateIf<uint8_t>(mask, kQuality, capacity);
  extraBytes = AllocateIf<uint8_t>(mask, kExtraBytes, capacity);
  beamCapacity = capacity;
  beamCount = capacity;
}

SidescanRec::SidescanRec(const SidescanRec& other)
    : SensorRec(other),
      sampleCapacity(other.sampleCapacity),
      samples2Capacity(other.samples2Capacity),
      sampleCount(other.sampleCount),
      pingNumber(other.pingNumber),
      slantRange(other.slantRange),
      soundVelocity(other.soundVelocity),
      sampleInterval(other.sampleInterval),
      samples(CopyArray(other.samples, other.sampleCapacity)),
      samples2(CopyArray(other.samples2, other.samples2Capacity)) {}

SidescanRec& SidescanRec::operator=(const SidescanRec& other) {
  if (this == &other) return *this;
  const uint32_t had = std::exchange(sampleCapacity, 0);
  const uint32_t had2 = std::exchange(samples2Capacity, 0);
  sampleCount = 0;
  AssignArray(samples, had, other.samples, other.sampleCapacity);
  AssignArray(samples2, had2, other.samples2, other.samples2Capacity);
  SensorRec::operator=(other);
  sampleCapacity = other.sampleCapacity;
  samples2Capacity = other.samples2Capacity;
  sampleCount = other.sampleCount;
  pingNumber = other.pingNumber;
  slantRange = other.slantRange;
  soundVelocity = other.soundVelocity;
  sampleInterval = other.sampleInterval;
  return *this;
}

void SensorName::Assign(std::string_view value) {
  const size_t kept = std::min<size_t>(value.size(), 255);
  std::memset(text, 0, sizeof text);
  std::memcpy(text, value.data(), kept);
  length = static_cast<uint8_t>(kept);
}

}  // namespace quor
