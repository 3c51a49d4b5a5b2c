#include "interpreters/surveyreaderlib/elacreader/navigationdecoder.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace elac {
namespace {

// Compares like strnicmp(name, "wgs84", length): at most `length`
// characters, ignoring case, stopping at a NUL in either string.
bool DatumIsWgs84(std::span<const uint8_t> name) {
  static constexpr std::string_view kWgs84 = "wgs84";
  for (size_t i = 0; i < name.size(); ++i) {
    const int expected = i < kWgs84.size() ? kWgs84[i] : 0;
    const int actual = std::tolower(name[i]);
    if (actual != expected) return false;
    if (actual == 0) return true;
  }
  return true;
}

bool ReadType(ByteCursor& body, uint32_t expected) {
  uint32_t type = 0;
  return body.Read(type) && type == expected;
}

}  // namespace

bool DecodePosition(ByteCursor body, quor::NavigationRec& navigation) {
  uint32_t nameLength = 0;
  if (!ReadType(body, kPositionGroup) || !body.Read(nameLength)) return false;
  // The name is compared over what the group holds of it; its bytes past
  // the group are never looked at.
  const size_t inGroup = std::min<size_t>(nameLength, body.remaining());
  if (DatumIsWgs84({body.position(), inGroup}))
    navigation.fieldMask |= quor::NavigationRec::kWgs84 | quor::NavigationRec::kWgs84Datum;
  double first = 0, second = 0, third = 0;
  if (!body.Skip(nameLength) || !body.Read(first) || !body.Read(second) || !body.Read(third))
    return false;
  navigation.valid = 1;
  if (navigation.fieldMask & quor::NavigationRec::kWgs84) {
    navigation.geographicFirst = first;
    navigation.geographicSecond = second;
  } else {
    navigation.projectedFirst = first;
    navigation.projectedSecond = second;
  }
  navigation.thirdCoordinate = third;
  return true;
}

bool DecodeNavigationHeading(ByteCursor body, quor::GyroRec& gyro) {
  double heading = 0;
  if (!ReadType(body, kNavigationHeadingGroup) || !body.Read(heading)) return false;
  gyro.heading = heading * kRadiansToDegrees;
  gyro.valid = 1;
  return true;
}

bool DecodeAttitude(ByteCursor body, quor::MotionRec& motion) {
  double heave = 0, roll = 0, pitch = 0;
  if (!ReadType(body, kAttitudeGroup) || !body.Read(heave) || !body.Read(roll) || !body.Read(pitch))
    return false;
  motion.heave = heave;
  motion.roll = roll * kRadiansToDegrees;
  motion.pitch = pitch * kRadiansToDegrees;
  motion.fieldMask |= quor::MotionRec::kRoll | quor::MotionRec::kPitch | quor::MotionRec::kHeave;
  motion.valid = 1;
  return true;
}

bool DecodeBathymetryHeading(ByteCursor body, quor::GyroRec& gyro) {
  double heading = 0;
  if (!ReadType(body, kBathymetryHeadingGroup) || !body.Skip(4) || !body.Read(heading))
    return false;
  gyro.heading = heading * kRadiansToDegrees;
  gyro.valid = 1;
  return true;
}

}  // namespace elac
