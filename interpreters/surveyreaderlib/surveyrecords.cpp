#include "interpreters/surveyreaderlib/surveyrecords.h"

#include <algorithm>
#include <cstring>

namespace quor {
namespace {

template <typename T>
std::unique_ptr<T[]> CopyArray(const std::unique_ptr<T[]>& source, uint32_t count) {
  if (!source || count == 0) return nullptr;
  auto copy = std::make_unique<T[]>(count);
  std::copy_n(source.get(), count, copy.get());
  return copy;
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
  if (this != &other) {
    MultibeamRec copy(other);
    *this = std::move(copy);
  }
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
  if (this != &other) {
    SidescanRec copy(other);
    *this = std::move(copy);
  }
  return *this;
}

void SensorName::Assign(std::string_view value) {
  const size_t kept = std::min<size_t>(value.size(), 255);
  std::memset(text, 0, sizeof text);
  std::memcpy(text, value.data(), kept);
  length = static_cast<uint8_t>(kept);
}

}  // namespace quor
