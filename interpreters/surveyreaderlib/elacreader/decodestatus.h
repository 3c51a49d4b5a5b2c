// Why a frame or a group was not decoded, and where: what a reader tells a
// tool that wants to say more than "rejected".
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

// What became of a group in a frame of a type the reader decodes.
enum class GroupStatus : uint8_t {
  kDecoded,        // a decoder took it
  kUnknownType,    // its type is none the frame's type has
  kUnusable,       // a type the frame has, refused: too short, counts that do not fit
  kOverrunsFrame,  // its size runs past the frame, which ends there
};
inline constexpr size_t kGroupStatusCount = 4;

constexpr const char* GroupStatusName(GroupStatus status) {
  constexpr std::array<const char*, kGroupStatusCount> kNames = {"decoded", "unknown type",
                                                                 "unusable", "overruns frame"};
  return kNames[static_cast<size_t>(status)];
}

}  // namespace elac
