// What a reader met in its data, for tools that summarise a file or a stream.
// A reader counts into one only when it was given one (SetStatistics), so
// plain decoding pays a null test per frame and nothing more.
#pragma once

#include <array>
#include <cstdint>

#include "interpreters/surveyreaderlib/elacreader/decodestatus.h"

namespace elac {

struct ReadStatistics {
  // Frames decoded, by frame type. Types from kOtherFrameTypes on share the
  // last slot.
  static constexpr uint32_t kOtherFrameTypes = 16;
  std::array<uint64_t, kOtherFrameTypes + 1> framesByType{};
  uint64_t bigEndianFrames = 0;
  uint64_t littleEndianFrames = 0;
  // Frame starts that ReadFrame found but could not turn into a frame: wrong
  // end marker, a size too large to be real, data ending inside the frame, a
  // frame too short for its own header.
  uint64_t framesRejected = 0;
  // The same by reason (slot kDecoded stays 0), with the offset of each
  // reason's first frame and the first few rejections in file order.
  std::array<uint64_t, kDecodeStatusCount> rejectedByReason{};
  std::array<uint64_t, kDecodeStatusCount> firstRejectedAt{};
  static constexpr size_t kRejectionsKept = 10;
  std::array<DecodeResult, kRejectionsKept> firstRejections{};
  // The groups of decoded frames (of the types whose groups are decoded) by
  // what became of them, with the offset of each status's first group.
  std::array<uint64_t, kGroupStatusCount> groupsByStatus{};
  std::array<uint64_t, kGroupStatusCount> firstGroupAt{};
  // Bytes of the frames ReadFrame read and decoded, end markers included.
  // Everything else a reader consumed was junk or rejected frames.
  uint64_t frameBytes = 0;

  void Reject(DecodeStatus reason, uint64_t offset) {
    const auto slot = static_cast<size_t>(reason);
    if (rejectedByReason[slot]++ == 0) firstRejectedAt[slot] = offset;
    if (framesRejected < kRejectionsKept)
      firstRejections[static_cast<size_t>(framesRejected)] = {reason, offset};
    ++framesRejected;
  }
  void CountGroup(GroupStatus status, uint64_t offset) {
    const auto slot = static_cast<size_t>(status);
    if (groupsByStatus[slot]++ == 0) firstGroupAt[slot] = offset;
  }
  // How many of firstRejections are filled.
  size_t RejectionsKept() const {
    return framesRejected < kRejectionsKept ? static_cast<size_t>(framesRejected) : kRejectionsKept;
  }

  uint64_t FramesDecoded() const {
    uint64_t total = 0;
    for (uint64_t count : framesByType) total += count;
    return total;
  }
  static constexpr uint32_t TypeSlot(uint32_t frameType) {
    return frameType < kOtherFrameTypes ? frameType : kOtherFrameTypes;
  }
};

}  // namespace elac
