#include "tools/framewriter/framewriter.h"

#include <bit>
#include <cassert>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace xsewriter {

template <typename T>
void FrameWriter::PutScalar(T value) {
  if constexpr (sizeof(T) > 1) {
    if (order_ != std::endian::native) value = elac::ByteSwap(value);
  }
  const auto* raw = reinterpret_cast<const uint8_t*>(&value);
  bytes_.insert(bytes_.end(), raw, raw + sizeof(T));
}

template void FrameWriter::PutScalar<uint16_t>(uint16_t);
template void FrameWriter::PutScalar<uint32_t>(uint32_t);
template void FrameWriter::PutScalar<uint64_t>(uint64_t);

void FrameWriter::PutF32(float value) { PutScalar(std::bit_cast<uint32_t>(value)); }
void FrameWriter::PutF64(double value) { PutScalar(std::bit_cast<uint64_t>(value)); }

void FrameWriter::PutBytes(std::span<const uint8_t> bytes) {
  bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
}

void FrameWriter::PutText(std::string_view text) {
  bytes_.insert(bytes_.end(), text.begin(), text.end());
}

void FrameWriter::BeginFrame(uint32_t frameType, uint32_t seconds, uint32_t microseconds,
                             uint32_t headerWord) {
  bytes_.clear();
  groupOpen_ = false;
  PutU32(elac::kFrameStart);
  PutU32(0);  // S, patched by EndFrame
  PutU32(frameType);
  PutU32(headerWord);
  PutU32(seconds);
  PutU32(microseconds);
}

void FrameWriter::BeginGroup(uint32_t groupType) {
  assert(!groupOpen_);
  PutU32(elac::kGroupStart);
  PutU32(0);  // G, patched by EndGroup
  groupStart_ = bytes_.size();
  groupOpen_ = true;
  PutU32(groupType);
}

namespace {
void PatchU32(std::vector<uint8_t>& bytes, size_t at, uint32_t value, std::endian order) {
  if (order != std::endian::native) value = elac::ByteSwap(value);
  const auto* raw = reinterpret_cast<const uint8_t*>(&value);
  std::copy(raw, raw + 4, bytes.begin() + static_cast<std::ptrdiff_t>(at));
}
}  // namespace

void FrameWriter::EndGroup() {
  assert(groupOpen_);
  PatchU32(bytes_, groupStart_ - 4, static_cast<uint32_t>(bytes_.size() - groupStart_), order_);
  PutU32(elac::kGroupEnd);
  groupOpen_ = false;
}

std::span<const uint8_t> FrameWriter::EndFrame() {
  if (groupOpen_) EndGroup();
  PatchU32(bytes_, 4, static_cast<uint32_t>(bytes_.size() - elac::kFrameEnvelopeSize), order_);
  PutU32(elac::kFrameEnd);
  return bytes_;
}

uint32_t XseSecondsFromUnix(int64_t unixSeconds) {
  return static_cast<uint32_t>(unixSeconds + elac::kXseEpochOffset);
}

}  // namespace xsewriter
