// Helpers for the decoder tests: frames, lone group bodies and byte streams
// written with the frame writer.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <sstream>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/recordingtarget.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace xsetest {

using Bytes = std::vector<uint8_t>;
using GroupWriter = std::function<void(xsewriter::FrameWriter&)>;

// 2022-08-19 00:00:00 UTC counted from 1901, and the same in Unix seconds.
inline constexpr uint32_t kFrameSeconds = 3838320000u;
inline constexpr int32_t kUnixSeconds = 1660867200;

// A frame of `frameType` whose groups `put` writes.
inline Bytes WriteFrame(std::endian order, uint32_t frameType, const GroupWriter& put,
                        uint32_t micros = 0) {
  xsewriter::FrameWriter writer(order);
  writer.BeginFrame(frameType, kFrameSeconds, micros);
  put(writer);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

// A frame of `frameType` holding `groups` in order.
inline Bytes FrameOf(std::endian order, uint32_t frameType,
                     const std::vector<GroupWriter>& groups) {
  return WriteFrame(order, frameType, [&groups](xsewriter::FrameWriter& w) {
    for (const auto& put : groups) put(w);
  });
}

// Start marker, S = 8 (too short for type and time), 8 bytes, end marker.
inline const Bytes kHeaderless = {'$', 'H', 'S', 'F', 0, 0, 0,   8,   0,   0,
                                  0,   1,   0,   0,   0, 0, '#', 'H', 'S', 'F'};

// A navigation frame of one heading group behind `padWords` header words;
// the microseconds tell frames apart.
inline Bytes HeadingFrame(std::endian order, uint32_t micros = 0, int padWords = 0) {
  return WriteFrame(
      order, elac::kNavigationFrame,
      [=](xsewriter::FrameWriter& w) {
        for (int i = 0; i < padWords; ++i) w.PutU32(0);
        xsewriter::PutHeadingGroup(w, 1.0);
      },
      micros);
}

// A heading frame whose size claims nearly 2 GiB, far beyond the limit.
inline Bytes AbsurdFrame(std::endian order, uint32_t micros) {
  Bytes frame = HeadingFrame(order, micros);
  frame[order == std::endian::big ? 4 : 7] = 0x7F;
  return frame;
}

// A bathymetry frame with every beam group, the wire values 10, 11, ... in
// each (so a decoded depth[0] tells the beam count), and sound velocities.
inline Bytes PingFrame(std::endian order, uint32_t micros, int beams) {
  std::vector<double> values;
  for (int i = 0; i < beams; ++i) values.push_back(10.0 + i);
  const auto put = [&values](xsewriter::FrameWriter& w) {
    using enum xsewriter::BeamGroupType;
    xsewriter::PutPingNumberGroup(w, static_cast<uint32_t>(values.size()));
    xsewriter::PutBeamCountGroup(w, static_cast<int32_t>(values.size()));
    for (auto type : {kTravelTimeGroup, kAcrossTrackGroup, kAlongTrackGroup, kDepthGroup,
                      kAcrossAngleGroup, kAlongAngleGroup})
      xsewriter::PutBeamValuesGroup(w, type, values);
    xsewriter::PutQualityGroup(w, std::vector<uint8_t>(values.size(), 3));
    const xsewriter::SoundVelocityEntry velocities[] = {{0, 1490.0}, {1, 1495.0}};
    xsewriter::PutSoundVelocityGroup(w, velocities);
  };
  return WriteFrame(order, elac::kBathymetryFrame, put, micros);
}

// A sidescan frame of `count` samples (both sides) `delayUs` behind the
// ping, ping number and microseconds `micros`, which also sets the values.
inline Bytes SidescanFrame(std::endian order, uint32_t micros, size_t count, uint32_t delayUs = 0) {
  std::vector<uint16_t> values(count);
  for (size_t i = 0; i < count; ++i) values[i] = static_cast<uint16_t>(i * 7 + micros);
  const auto put = [&](xsewriter::FrameWriter& w) {
    xsewriter::PutSidescanPingGroup(w, micros);
    xsewriter::PutSidescanSamplesGroup(w, 20, delayUs, values);
    xsewriter::PutSidescanGainGroup(w, 1, 2);
  };
  return WriteFrame(order, elac::kSidescanFrame, put, micros);
}

// Runs `decode` on the body (type word onwards) of the one group that `put`
// writes.
template <typename Record>
bool DecodeGroup(bool (*decode)(elac::ByteCursor, Record&), const GroupWriter& put, Record& record,
                 std::endian order = std::endian::big) {
  const auto frame = WriteFrame(order, 0, put);
  constexpr size_t kBodyStart = elac::kFrameHeaderSize + elac::kGroupEnvelopeSize;
  const auto size = elac::LoadScalar<uint32_t>(frame.data() + kBodyStart - 4, order);
  return decode(elac::ByteCursor(std::span(frame).subspan(kBodyStart, size), order), record);
}

// A group of `type` holding `words` and then `zeros` zero bytes.
inline GroupWriter Group(uint32_t type, std::vector<uint32_t> words, size_t zeros = 0) {
  return [=](xsewriter::FrameWriter& w) {
    w.BeginGroup(type);
    for (uint32_t word : words) w.PutU32(word);
    for (size_t i = 0; i < zeros; ++i) w.PutU8(0);
    w.EndGroup();
  };
}

// The group that `put` writes from `args`, which are kept by value (a vector
// where `put` takes a span).
template <typename Writer, typename... Args>
GroupWriter Put(Writer put, Args... args) {
  return [=](xsewriter::FrameWriter& w) { put(w, args...); };
}

// A group of size 0: start marker, size, end marker.
inline void PutEmptyGroup(xsewriter::FrameWriter& writer) {
  writer.PutU32(elac::kGroupStart);
  writer.PutU32(0);
  writer.PutU32(elac::kGroupEnd);
}

// Decodes `frames` with one reader; returns what it delivered.
inline RecordingTarget DecodeFrames(std::initializer_list<Bytes> frames, int32_t mode = 0) {
  RecordingTarget target;
  ElacReader reader(&target, mode);
  for (const auto& frame : frames) EXPECT_TRUE(reader.DecodeFrameBytes(frame));
  return target;
}

inline Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

inline std::istringstream StreamOf(const Bytes& bytes) {
  return std::istringstream(std::string(bytes.begin(), bytes.end()));
}

}  // namespace xsetest
