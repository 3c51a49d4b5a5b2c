// Why a frame was not decoded, and where: what a reader tells a tool that
// wants to say more than "rejected".
#pragma once

#include <array>
#include <cstdint>

namespace elac {

enum class DecodeStatus : uint8_t {
  kDecoded,
  kSizeOverLimit,  // a size field above the frame-size limit
  kTruncated,      // the data ends inside the frame
  kBadEndMarker,   // the bytes behind the frame are no end marker
  kShortFrame,     // a frame too short for its own header
};
inline constexpr size_t kDecodeStatusCount = 5;

// "bad end marker", "truncated", ...: the words a tool prints.
constexpr const char* DecodeStatusName(DecodeStatus status) {
  constexpr std::array<const char*, kDecodeStatusCount> kNames = {
      "decoded", "size over limit", "truncated", "bad end marker", "short frame"};
  return kNames[static_cast<size_t>(status)];
}

struct DecodeResult {
  DecodeStatus status = DecodeStatus::kDecoded;
  uint64_t offset = 0;  // of the frame's start marker in the data
};

}  // namespace elac
