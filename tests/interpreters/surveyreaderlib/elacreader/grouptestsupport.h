// Helpers for the group decoder tests: frames and lone group bodies written
// with the frame writer.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "tools/framewriter/framewriter.h"

namespace xsetest {

// 2022-08-19 00:00:00 UTC counted from 1901.
inline constexpr uint32_t kFrameSeconds = 3838320000u;

// A frame of `frameType` whose groups `put` writes.
template <typename Put>
std::vector<uint8_t> WriteFrame(bool bigEndian, uint32_t frameType, Put put) {
  xsewriter::FrameWriter writer(bigEndian);
  writer.BeginFrame(frameType, kFrameSeconds, 0);
  put(writer);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

// The body (type word onwards) of the one group that `put` writes.
template <typename Put>
std::vector<uint8_t> WriteGroupBody(bool bigEndian, Put put) {
  const auto frame = WriteFrame(bigEndian, 0, put);
  constexpr size_t kBodyStart = elac::kFrameHeaderSize + elac::kGroupEnvelopeSize;
  const auto size = elac::LoadScalar<uint32_t>(frame.data() + kBodyStart - 4, bigEndian);
  return {frame.begin() + kBodyStart, frame.begin() + kBodyStart + size};
}

// A group with `type` followed by `fill` zero bytes.
inline void PutZeroGroup(xsewriter::FrameWriter& writer, uint32_t type, size_t fill) {
  writer.BeginGroup(type);
  for (size_t i = 0; i < fill; ++i) writer.PutU8(0);
  writer.EndGroup();
}

// A group of size 0: start marker, size, end marker.
inline void PutEmptyGroup(xsewriter::FrameWriter& writer) {
  writer.PutU32(elac::kGroupStart);
  writer.PutU32(0);
  writer.PutU32(elac::kGroupEnd);
}

inline elac::ByteCursor Cursor(const std::vector<uint8_t>& body, bool bigEndian = true) {
  return elac::ByteCursor(body, bigEndian);
}

}  // namespace xsetest
