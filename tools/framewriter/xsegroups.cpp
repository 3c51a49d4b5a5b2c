#include "tools/framewriter/xsegroups.h"

namespace xsewriter {

void PutPositionGroup(FrameWriter& writer, std::string_view datum, double first, double second,
                      double third) {
  writer.BeginGroup(2);
  writer.PutU32(static_cast<uint32_t>(datum.size()));
  writer.PutText(datum);
  writer.PutF64(first);
  writer.PutF64(second);
  writer.PutF64(third);
  writer.EndGroup();
}

void PutHeadingGroup(FrameWriter& writer, double headingRadians) {
  writer.BeginGroup(11);
  writer.PutF64(headingRadians);
  writer.EndGroup();
}

void PutAttitudeGroup(FrameWriter& writer, double heave, double rollRadians, double pitchRadians) {
  writer.BeginGroup(7);
  writer.PutF64(heave);
  writer.PutF64(rollRadians);
  writer.PutF64(pitchRadians);
  writer.EndGroup();
}

void PutPingNumberGroup(FrameWriter& writer, uint32_t pingNumber) {
  writer.BeginGroup(1);
  writer.PutU32(pingNumber);
  writer.EndGroup();
}

void PutBeamCountGroup(FrameWriter& writer, int32_t beamCount) {
  writer.BeginGroup(2);
  writer.PutI32(beamCount);
  writer.EndGroup();
}

void PutBeamValuesGroup(FrameWriter& writer, BeamGroupType type, std::span<const double> values) {
  writer.BeginGroup(type);
  writer.PutI32(static_cast<int32_t>(values.size()));
  for (double value : values) writer.PutF64(value);
  writer.EndGroup();
}

void PutQualityGroup(FrameWriter& writer, std::span<const uint8_t> codes) {
  writer.BeginGroup(4);
  writer.PutI32(static_cast<int32_t>(codes.size()));
  writer.PutBytes(codes);
  writer.EndGroup();
}

void PutSoundVelocityGroup(FrameWriter& writer, std::span<const SoundVelocityEntry> entries) {
  writer.BeginGroup(20);
  writer.PutU32(static_cast<uint32_t>(entries.size()));
  for (const auto& entry : entries) {
    writer.PutU16(entry.identifier);
    writer.PutF64(entry.value);
  }
  writer.EndGroup();
}

void PutPingHeadingGroup(FrameWriter& writer, double headingRadians) {
  writer.BeginGroup(19);
  writer.PutU32(0);
  writer.PutF64(headingRadians);
  writer.EndGroup();
}

void PutSidescanPingGroup(FrameWriter& writer, uint32_t pingNumber) {
  writer.BeginGroup(1);
  writer.PutU32(pingNumber);
  writer.EndGroup();
}

void PutSidescanSamplesGroup(FrameWriter& writer, uint32_t intervalMicroseconds,
                             uint32_t delayMicroseconds, std::span<const uint16_t> samples) {
  writer.BeginGroup(2);
  writer.PutU32(intervalMicroseconds);
  writer.PutU32(delayMicroseconds);
  writer.PutU32(static_cast<uint32_t>(samples.size()));
  for (uint16_t sample : samples) writer.PutU16(sample);
  writer.EndGroup();
}

void PutSidescanGainGroup(FrameWriter& writer, int16_t firstHalfExponent,
                          int16_t secondHalfExponent) {
  writer.BeginGroup(9);
  writer.PutI16(firstHalfExponent);
  writer.PutU32(0);
  writer.PutI16(secondHalfExponent);
  writer.PutU32(0);
  writer.EndGroup();
}

void PutDraftGroup(FrameWriter& writer, double draft, uint32_t blockLength) {
  writer.BeginGroup(1);
  writer.PutU32(blockLength);
  for (uint32_t i = 0; i < blockLength + 16; ++i) writer.PutU8(0);
  writer.PutF64(draft);
  for (int i = 0; i < 24; ++i) writer.PutU8(0);
  writer.EndGroup();
}

void PutInstallationGroup(FrameWriter& writer, const Installation9& values) {
  writer.BeginGroup(9);
  for (double value : {values.mruAngleOffset1, values.mruAngleOffset2, values.mruThird,
                       values.headingOffset, values.positionDelay})
    writer.PutF64(value);
  for (double value : values.position) writer.PutF64(value);
  for (double value : values.mru) writer.PutF64(value);
  writer.EndGroup();
}

void PutTransducerInstallationGroup(FrameWriter& writer, const Installation8& values) {
  writer.BeginGroup(8);
  for (float value :
       {values.mruAngleOffset1, values.mruAngleOffset2, values.headingOffset, values.positionDelay})
    writer.PutF32(value);
  for (float value : values.port) writer.PutF32(value);
  for (float value : values.starboard) writer.PutF32(value);
  writer.PutF32(values.portMountAngle);
  writer.PutF32(values.starboardMountAngle);
  for (float value : values.position) writer.PutF32(value);
  for (float value : values.mru) writer.PutF32(value);
  writer.EndGroup();
}

void PutDeviceListGroup(FrameWriter& writer, std::span<const uint32_t> identifiers,
                        std::span<const uint32_t> typeCodes) {
  writer.BeginGroup(4);
  writer.PutU32(static_cast<uint32_t>(identifiers.size()));
  for (uint32_t id : identifiers) writer.PutU32(id);
  for (uint32_t code : typeCodes) writer.PutU32(code);
  writer.EndGroup();
}

void PutMountingGroup(FrameWriter& writer, std::span<const MountingEntry> entries) {
  writer.BeginGroup(10);
  writer.PutU32(static_cast<uint32_t>(entries.size()));
  for (const auto& entry : entries) {
    writer.PutU32(entry.deviceId);
    writer.PutU32(0);
    writer.PutU8(entry.transmit);
    writer.PutU8(0);
    for (double angle : entry.angles) writer.PutF64(angle);
    for (double value : entry.leverArm) writer.PutF64(value);
    for (int i = 0; i < 4; ++i) writer.PutF64(0.0);
  }
  writer.EndGroup();
}

void PutStatusGroup(FrameWriter& writer, std::span<const DeviceStatus> entries) {
  writer.BeginGroup(11);
  writer.PutU32(static_cast<uint32_t>(entries.size()));
  for (const auto& entry : entries) {
    writer.PutU8(entry.s1);
    writer.PutU8(entry.s2);
    writer.PutU8(entry.s3);
  }
  writer.EndGroup();
}

}  // namespace xsewriter
