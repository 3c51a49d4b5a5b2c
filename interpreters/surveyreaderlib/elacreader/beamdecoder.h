// Bathymetry beam groups (types 1, 2, 3, 4, 7, 8, 9, 10, 13, 20) into the
// one MultibeamRec of the decoder, and the head selection applied before a
// ping is delivered.
//
// Per-beam values are stored in reverse: value k of a group of N goes to
// index N - 1 - k. The arrays are always those of kBeamArrayMask; they are
// reallocated only when a ping needs more beams than beamCapacity (or the
// record holds another array set), so steady decoding allocates nothing.
#pragma once

#include <cstdint>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "xsereader/surveyrecords.h"

namespace elac {

enum BeamGroupType : uint32_t {
  kPingNumberGroup = 1,
  kBeamCountGroup = 2,
  kTravelTimeGroup = 3,
  kQualityGroup = 4,
  kAcrossTrackGroup = 7,
  kAlongTrackGroup = 8,
  kDepthGroup = 9,
  kAcrossAngleGroup = 10,
  kAlongAngleGroup = 13,
  kSoundVelocityGroup = 20,
};

// travelTime, acrossAngle, alongAngle, depth, acrossTrack, alongTrack,
// quality, extraFloats and extraBytes.
inline constexpr uint32_t kBeamArrayMask = 0x143F8;

// The most beams a ping may have. The beam-count group (type 2) carries no
// values that would bound its N by the group size, and even a value group
// may hold millions of beams within the frame limit; above this a count is
// taken for damaged data. Real pings have a few thousand beams at most
// (dual head, multiple detections); 65536 beams cost about 2 MiB of arrays.
inline constexpr uint32_t kMaxBeams = 65536;

// Returns true when `body` is a beam group it decoded. False, with the
// record untouched, for an empty body, another group type, a group too
// short for its fixed fields, a negative beam count or one above kMaxBeams,
// and a count of values (or sound-velocity entries) that runs past the
// group: such a group is dropped whole rather than clipped.
[[nodiscard]] bool DecodeBeamGroup(ByteCursor body, quor::MultibeamRec& multibeam);

// Head selection by `mode`: 0 all beams, 1 the first half, 2 the second half
// (moved to the front of quality and the six value arrays; extraFloats and
// extraBytes stay). Other modes deliver all beams.
void ApplyHeadSelection(quor::MultibeamRec& multibeam, int32_t mode);

}  // namespace elac
