// What a reader met in its data, for tools that summarise a file or a stream.
// A reader counts into one only when it was given one (SetStatistics), so
// plain decoding pays a null test per frame and nothing more.
#pragma once

#include <array>
#include <cstdint>

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
  // Bytes of the frames ReadFrame read and decoded, end markers included.
  // Everything else a reader consumed was junk or rejected frames.
  uint64_t frameBytes = 0;

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
