// The frame envelope: start marker, size S, S bytes, end marker. Every path
// that reads frames (files, bytes in memory, the live stream) judges the
// envelope here, so they cannot come to differ on what a frame is.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>

namespace elac {

enum class EnvelopeStatus : uint8_t {
  kNoStart,     // fewer than four bytes, or they are no start marker
  kNoSize,      // a start marker without the size behind it
  kTooLarge,    // S above the frame-size limit: damaged data
  kIncomplete,  // the bytes end before the end marker's last byte
  kBadEnd,      // all there, but no end marker behind the S bytes
  kWhole,       // all there, end marker included
};

struct FrameEnvelope {
  EnvelopeStatus status = EnvelopeStatus::kNoStart;
  std::endian order = std::endian::little;
  uint32_t bodySize = 0;  // S, once the size was read

  // Start marker, size and body: the bytes the decoder sees.
  size_t FrameSize() const { return 8 + size_t{bodySize}; }
  // The frame with its end marker.
  size_t SizeWithEnd() const { return FrameSize() + 4; }
};

// Judges the envelope at the front of `bytes`, reading nothing outside them.
[[nodiscard]] FrameEnvelope ParseEnvelope(std::span<const uint8_t> bytes);

// Whether the four bytes at the front of `bytes` are an end marker in
// `order`.
[[nodiscard]] bool IsFrameEnd(std::span<const uint8_t> bytes, std::endian order);

// The four bytes of a start marker in `order`, for a reader that consumed
// the marker before it knew it would need the frame's bytes whole.
std::span<const uint8_t, 4> FrameStartBytes(std::endian order);

}  // namespace elac
