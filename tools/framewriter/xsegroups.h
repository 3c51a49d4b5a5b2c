// Typed writers for every XSE group this system decodes. Each appends one
// complete group to the frame that `writer` has open. Values are given as
// they stand on the wire (radians, two-way travel times, raw codes).
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string_view>

#include "tools/framewriter/framewriter.h"

namespace xsewriter {

// Navigation frames (type 1).
void PutPositionGroup(FrameWriter& writer, std::string_view datum, double first, double second,
                      double third);
void PutHeadingGroup(FrameWriter& writer, double headingRadians);
void PutAttitudeGroup(FrameWriter& writer, double heave, double rollRadians, double pitchRadians);

// Bathymetry frames (type 6).
enum BeamGroupType : uint32_t {
  kTravelTimeGroup = 3,
  kAcrossTrackGroup = 7,
  kAlongTrackGroup = 8,
  kDepthGroup = 9,
  kAcrossAngleGroup = 10,
  kAlongAngleGroup = 13,
};
void PutPingNumberGroup(FrameWriter& writer, uint32_t pingNumber);
void PutBeamCountGroup(FrameWriter& writer, int32_t beamCount);
// One f64 per beam (group types 3, 7, 8, 9, 10, 13), in wire order.
void PutBeamValuesGroup(FrameWriter& writer, BeamGroupType type, std::span<const double> values);
void PutQualityGroup(FrameWriter& writer, std::span<const uint8_t> codes);
struct SoundVelocityEntry {
  uint16_t identifier;
  double value;
};
void PutSoundVelocityGroup(FrameWriter& writer, std::span<const SoundVelocityEntry> entries);
void PutPingHeadingGroup(FrameWriter& writer, double headingRadians);

// Sidescan frames (type 5).
void PutSidescanPingGroup(FrameWriter& writer, uint32_t pingNumber);
void PutSidescanSamplesGroup(FrameWriter& writer, uint32_t intervalMicroseconds,
                             uint32_t delayMicroseconds, std::span<const uint16_t> samples);
void PutSidescanGainGroup(FrameWriter& writer, int16_t firstHalfExponent,
                          int16_t secondHalfExponent);

// Parameter frames (type 4).
void PutDraftGroup(FrameWriter& writer, double draft, uint32_t blockLength = 0);
struct Installation9 {
  double mruAngleOffset1 = 0, mruAngleOffset2 = 0, mruThird = 0;  // radians, radians, raw
  double headingOffset = 0;                                       // radians
  double positionDelay = 0;                                       // seconds
  std::array<double, 3> position{}, mru{};                        // lever arms x, y, z
};
void PutInstallationGroup(FrameWriter& writer, const Installation9& values);
struct Installation8 {
  float mruAngleOffset1 = 0, mruAngleOffset2 = 0, headingOffset = 0;  // radians
  float positionDelay = 0;                                            // seconds
  std::array<float, 3> port{}, starboard{};
  float portMountAngle = 0, starboardMountAngle = 0;  // radians
  std::array<float, 3> position{}, mru{};
};
void PutTransducerInstallationGroup(FrameWriter& writer, const Installation8& values);
void PutDeviceListGroup(FrameWriter& writer, std::span<const uint32_t> identifiers,
                        std::span<const uint32_t> typeCodes);
struct MountingEntry {
  uint32_t deviceId = 0;
  uint8_t transmit = 1;              // 0 marks a receiving use
  std::array<double, 3> angles{};    // radians
  std::array<double, 3> leverArm{};  // x, y, z
};
void PutMountingGroup(FrameWriter& writer, std::span<const MountingEntry> entries);
struct DeviceStatus {
  uint8_t s1 = 0, s2 = 0, s3 = 0;
};
void PutStatusGroup(FrameWriter& writer, std::span<const DeviceStatus> entries);

}  // namespace xsewriter
