// Group decoders of navigation frames (position, heading, attitude) and the
// heading group of bathymetry frames. Each takes the group body, bounded to
// the group, and returns true when it recognised and decoded the group; an
// empty body (a group of size 0) or a body too short for its fields is
// rejected without touching the record.
#pragma once

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "xsereader/surveyrecords.h"

namespace elac {

enum NavigationGroupType : uint32_t {
  kPositionGroup = 2,
  kAttitudeGroup = 7,
  kNavigationHeadingGroup = 11,
  kBathymetryHeadingGroup = 19,
};

// Group type 2: datum name and three coordinates. A WGS84 datum name sets
// fieldMask 0x1|0x2 even when the group is then too short for coordinates.
[[nodiscard]] bool DecodePosition(ByteCursor body, quor::NavigationRec& navigation);

// Group type 11: heading in radians at offset 4.
[[nodiscard]] bool DecodeNavigationHeading(ByteCursor body, quor::GyroRec& gyro);

// Group type 7: heave, roll and pitch (radians) at offsets 4, 12 and 20.
[[nodiscard]] bool DecodeAttitude(ByteCursor body, quor::MotionRec& motion);

// Group type 19 of a bathymetry frame: heading in radians at offset 8.
[[nodiscard]] bool DecodeBathymetryHeading(ByteCursor body, quor::GyroRec& gyro);

}  // namespace elac
