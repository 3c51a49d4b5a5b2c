#include "interpreters/surveyreaderlib/elacreader/beamdecoder.h"

#include <algorithm>
#include <memory>

#include "interpreters/surveyreaderlib/elacreader/wireconvert.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace elac {
namespace {

using quor::MultibeamRec;

// A ping is complete with soundings (depths and both distances) or with the
// raw beam geometry (travel times, across angles and qualities).
constexpr uint32_t kSoundingsComplete =
    MultibeamRec::kDepth | MultibeamRec::kAcrossTrack | MultibeamRec::kAlongTrack;
constexpr uint32_t kRawComplete =
    MultibeamRec::kTravelTime | MultibeamRec::kAcrossAngle | MultibeamRec::kQuality;

constexpr size_t kSoundVelocityEntrySize = 10;  // uint16 identifier, f64 value
// Only plausible sea-water values count; anything else is another quantity
// or a bad reading.
constexpr double kMinSoundVelocity = 1380.0;
constexpr double kMaxSoundVelocity = 1580.0;

// Groups of one f64 per beam: which array, how the value is scaled, which
// fieldMask bits it brings.
struct ValueGroup {
  uint32_t type;
  std::unique_ptr<float[]> MultibeamRec::*array;
  double scale;
  uint32_t bits;
};

constexpr ValueGroup kValueGroups[] = {
    // Two-way travel time in, one-way out.
    {kTravelTimeGroup, &MultibeamRec::travelTime, 0.5, MultibeamRec::kTravelTime},
    {kAcrossTrackGroup, &MultibeamRec::acrossTrack, -1.0, MultibeamRec::kAcrossTrack},
    {kAlongTrackGroup, &MultibeamRec::alongTrack, 1.0, MultibeamRec::kAlongTrack},
    {kDepthGroup, &MultibeamRec::depth, 1.0, MultibeamRec::kDepth},
    {kAcrossAngleGroup, &MultibeamRec::acrossAngle, -kRadiansToDegrees, MultibeamRec::kAcrossAngle},
    {kAlongAngleGroup, &MultibeamRec::alongAngle, kRadiansToDegrees,
     MultibeamRec::kAlongAngle | MultibeamRec::kAlongAngleAux},
};

const ValueGroup* FindValueGroup(uint32_t type) {
  for (const auto& group : kValueGroups) {
    if (group.type == type) return &group;
  }
  return nullptr;
}

// Sizes the arrays for `beams`. Every sized group clears `valid`, so the
// completion test afterwards reflects only the bits of this frame.
void SizeFor(MultibeamRec& multibeam, uint32_t beams) {
  if (multibeam.beamCapacity >= beams && multibeam.arrayMask == kBeamArrayMask) {
    multibeam.beamCount = beams;
  } else {
    multibeam.Reallocate(kBeamArrayMask, beams);
  }
  multibeam.valid = 0;
}

// Types 2 to 13. Everything is checked before the record is touched.
bool DecodeSizedGroup(uint32_t type, ByteCursor& body, MultibeamRec& multibeam) {
  int32_t declared = 0;
  if (!body.Read(declared) || declared < 0 || static_cast<uint32_t>(declared) > kMaxBeams)
    return false;
  const auto beams = static_cast<uint32_t>(declared);

  if (type == kBeamCountGroup) {
    SizeFor(multibeam, beams);
    return true;
  }
  if (type == kQualityGroup) {
    const auto codes = body.TakeArray<uint8_t>(beams);
    if (!codes) return false;
    SizeFor(multibeam, beams);
    StoreQualitiesReversed(*codes, multibeam.quality.get());
    multibeam.fieldMask |= MultibeamRec::kQuality;
    return true;
  }
  const ValueGroup* group = FindValueGroup(type);
  if (group == nullptr) return false;
  const auto values = body.TakeArray<double>(beams);
  if (!values) return false;
  SizeFor(multibeam, beams);
  StoreDoublesReversed(*values, group->scale, (multibeam.*(group->array)).get());
  multibeam.fieldMask |= group->bits;
  return true;
}

// Type 20: the last plausible entry with identifier 0 wins.
bool DecodeSoundVelocity(ByteCursor& body, MultibeamRec& multibeam) {
  uint32_t count = 0;
  if (!body.Read(count)) return false;
  const auto bytes = CheckedMul(count, kSoundVelocityEntrySize);
  if (!bytes) return false;
  auto entries = body.Take(*bytes);
  if (!entries) return false;
  for (uint32_t i = 0; i < count; ++i) {
    uint16_t identifier = 0;
    double value = 0;
    if (!entries->Read(identifier) || !entries->Read(value)) break;
    if (identifier == 0 && value > kMinSoundVelocity && value < kMaxSoundVelocity) {
      multibeam.soundVelocity = value;
      multibeam.fieldMask |= MultibeamRec::kSoundVelocity;
    }
  }
  return true;
}

}  // namespace

bool DecodeBeamGroup(ByteCursor body, MultibeamRec& multibeam) {
  uint32_t type = 0;
  if (!body.Read(type)) return false;
  switch (type) {
    case kPingNumberGroup: {
      uint32_t pingNumber = 0;
      if (!body.Read(pingNumber)) return false;
      multibeam.pingNumber = static_cast<int32_t>(pingNumber);
      multibeam.fieldMask |= MultibeamRec::kPingNumber;
      break;
    }
    case kSoundVelocityGroup:
      if (!DecodeSoundVelocity(body, multibeam)) return false;
      break;
    case kBeamCountGroup:
    case kTravelTimeGroup:
    case kQualityGroup:
    case kAcrossTrackGroup:
    case kAlongTrackGroup:
    case kDepthGroup:
    case kAcrossAngleGroup:
    case kAlongAngleGroup:
      if (!DecodeSizedGroup(type, body, multibeam)) return false;
      break;
    default:
      return false;
  }
  if ((multibeam.fieldMask & kSoundingsComplete) == kSoundingsComplete ||
      (multibeam.fieldMask & kRawComplete) == kRawComplete)
    multibeam.valid = 1;
  return true;
}

void ApplyHeadSelection(MultibeamRec& multibeam, int32_t mode) {
  if (mode != 1 && mode != 2) return;
  const uint32_t half = multibeam.beamCount / 2;
  multibeam.beamCount = half;
  // Arrays hold beamCapacity elements; a count above it is no ping of ours.
  if (mode == 1 || half == 0 || 2 * uint64_t{half} > multibeam.beamCapacity) return;
  auto moveSecondHalf = [half](auto* array) {
    if (array != nullptr) std::copy(array + half, array + 2 * half, array);
  };
  moveSecondHalf(multibeam.quality.get());
  moveSecondHalf(multibeam.travelTime.get());
  moveSecondHalf(multibeam.acrossAngle.get());
  moveSecondHalf(multibeam.alongAngle.get());
  moveSecondHalf(multibeam.acrossTrack.get());
  moveSecondHalf(multibeam.alongTrack.get());
  moveSecondHalf(multibeam.depth.get());
}

}  // namespace elac
