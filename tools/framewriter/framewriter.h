// FrameWriter: writes XSE frames and groups in either byte order from typed
// values. Sizes are patched in when a group or frame is closed, so callers
// only append values. It writes well-formed envelopes; tests that need
// damaged ones patch the bytes afterwards.
#pragma once

#include <bit>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

namespace xsewriter {

class FrameWriter {
 public:
  explicit FrameWriter(std::endian order = std::endian::big) : order_(order) {}

  std::endian order() const { return order_; }
  void SetOrder(std::endian order) { order_ = order; }

  // Starts a new frame, discarding any earlier one. `seconds` count from
  // 1901-01-01 00:00:00 UTC.
  void BeginFrame(uint32_t frameType, uint32_t seconds, uint32_t microseconds,
                  uint32_t headerWord = 0);
  // Opens a group and writes its type as the body's first word.
  void BeginGroup(uint32_t groupType);
  // Closes the open group: patches its size and writes the end marker.
  void EndGroup();
  // Closes the frame: patches S and writes the frame end marker. Returns the
  // whole frame, valid until the next Begin.
  std::span<const uint8_t> EndFrame();

  void PutU8(uint8_t value) { bytes_.push_back(value); }
  void PutU16(uint16_t value) { PutScalar(value); }
  void PutI16(int16_t value) { PutScalar(static_cast<uint16_t>(value)); }
  void PutU32(uint32_t value) { PutScalar(value); }
  void PutI32(int32_t value) { PutScalar(static_cast<uint32_t>(value)); }
  void PutF32(float value);
  void PutF64(double value);
  void PutBytes(std::span<const uint8_t> bytes);
  void PutText(std::string_view text);

  // The bytes written so far (for patching damaged test frames).
  std::vector<uint8_t>& bytes() { return bytes_; }

 private:
  template <typename T>
  void PutScalar(T value);

  std::endian order_;
  std::vector<uint8_t> bytes_;
  size_t groupStart_ = 0;
  bool groupOpen_ = false;
};

// Seconds since 1901-01-01 UTC of a time given in seconds since 1970.
uint32_t XseSecondsFromUnix(int64_t unixSeconds);

}  // namespace xsewriter
