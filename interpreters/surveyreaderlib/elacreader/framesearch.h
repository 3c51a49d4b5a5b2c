// The search for the next XSE frame start. Frames are looked for in steps
// of four bytes from where the reader stands, for a start marker in either
// byte order ("$HSF" big-endian, "FSH$" little-endian). Recorders leave long
// zero-filled or garbage stretches, so the search runs over the bytes a
// stream buffer already holds, several words at a time, and touches the
// stream itself only to refill.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <optional>
#include <span>

namespace elac {

// Offset of the first frame start marker, in either byte order, at a
// multiple of four bytes in `bytes`; when there is none, the size of the
// whole words in `bytes` (its size rounded down to a multiple of four).
size_t FindFrameStart(std::span<const uint8_t> bytes);

// The byte order a frame start marker at the front of `bytes` announces,
// or nothing when those four bytes are no frame start.
std::optional<std::endian> FrameByteOrder(std::span<const uint8_t> bytes);

struct FrameStartFound {
  std::endian order = std::endian::little;
  // Whether the marker has been consumed: it has when it straddled the end
  // of the stream buffer's bytes and was read as a word; otherwise the
  // stream stands on it and the buffer holds it.
  bool markerConsumed = false;
  // Bytes passed over before the marker.
  uint64_t skipped = 0;
};

// Moves `stream` in four-byte steps to the next frame start marker. Nothing
// when the data ends first or the stream fails: everything up to there is
// consumed (a last partial word too) and the stream's failbit is set, with
// eofbit at the end of the data, as reading word by word would leave it.
std::optional<FrameStartFound> SeekFrameStart(std::istream& stream);

}  // namespace elac
