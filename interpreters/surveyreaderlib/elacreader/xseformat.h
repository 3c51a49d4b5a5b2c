// Constants of the XSE frame and group envelope and the XSE time base.
#pragma once

#include <cstdint>

#include "xsereader/surveyrecords.h"

namespace elac {

// Markers as 32-bit numbers. Written in the frame's byte order they spell
// "$HSF" (big-endian) or "FSH$" (little-endian), and so on.
inline constexpr uint32_t kFrameStart = 0x24485346;
inline constexpr uint32_t kGroupStart = 0x24485347;
inline constexpr uint32_t kGroupEnd = 0x23485347;
inline constexpr uint32_t kFrameEnd = 0x23485346;

// Frame header: start marker, size S, then S bytes from offset 8 (type,
// an unread word, seconds, microseconds, further words and groups).
inline constexpr size_t kFrameEnvelopeSize = 8;  // start marker + size
inline constexpr size_t kFrameHeaderSize = 24;   // up to and including the time
inline constexpr size_t kGroupEnvelopeSize = 8;  // start marker + size

// The format puts no bound on S; a frame body above this is taken for
// damaged data rather than becoming a huge allocation. Real frames are at
// most a few hundred kilobytes (a ping of some thousand beams).
inline constexpr uint32_t kMaxFrameBodySize = 16u * 1024u * 1024u;

enum FrameType : uint32_t {
  kNavigationFrame = 1,
  kParameterFrame = 4,
  kSidescanFrame = 5,
  kBathymetryFrame = 6,
};

// Frame types whose time is no start time: parameter frames, and types 2,
// 3 and 10, which the decoder knows only by that and otherwise skips.
inline constexpr uint32_t kUntimedFrameTypes[] = {2, 3, kParameterFrame, 10};

inline constexpr bool FrameHasStartTime(uint32_t frameType) {
  for (const uint32_t untimed : kUntimedFrameTypes)
    if (frameType == untimed) return false;
  return true;
}

// Frame types whose groups are decoded; the groups of the others are skipped.
inline constexpr bool FrameHasGroups(uint32_t frameType) {
  return frameType == kNavigationFrame || frameType == kParameterFrame ||
         frameType == kSidescanFrame || frameType == kBathymetryFrame;
}

inline constexpr double kRadiansToDegrees = 57.29577951308232;

// Seconds from 1901-01-01 to 1970-01-01 (25202 days).
inline constexpr uint32_t kXseEpochOffset = 2177452800u;

// XSE counts seconds from 1901-01-01 UTC. From 1970 on that is a plain
// offset; earlier dates have no place in a 1970-based time, and get
// tv_sec -1, as a failed calendar conversion would give. The microseconds
// pass as the frame gives them, a million or more included: the format's
// rule, kept so that every reader of a damaged time sees the same record.
inline quor::timeval ConvertXseTime(uint32_t secondsSince1901, uint32_t microseconds) {
  quor::timeval time;
  time.tv_sec = secondsSince1901 >= kXseEpochOffset
                    ? static_cast<int32_t>(secondsSince1901 - kXseEpochOffset)
                    : -1;
  time.tv_usec = static_cast<int32_t>(microseconds);
  return time;
}

}  // namespace elac
