#include "interpreters/surveyreaderlib/elacreader/livedecoder.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <optional>

#include "interpreters/surveyreaderlib/elacreader/frameenvelope.h"
#include "interpreters/surveyreaderlib/elacreader/framesearch.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace elac {

namespace {

constexpr size_t kWord = 4;
// Start marker, size, body and end marker of the largest frame the decoder
// takes.
constexpr size_t kMostCapacity = kFrameEnvelopeSize + kMaxFrameBodySize + kWord;

}  // namespace

LiveDecoder::LiveDecoder()
    : bytes_(new uint8_t[kInitialCapacity]), capacity_(kInitialCapacity), stream_({}) {}

std::span<uint8_t> LiveDecoder::Room() {
  if (head_ == tail_) head_ = tail_ = 0;
  if (tail_ == capacity_ && head_ > 0) {
    // Moved to the front only when the end is reached: one move per buffer
    // full, whatever the size of the reads.
    std::memmove(bytes_.get(), bytes_.get() + head_, held());
    tail_ -= head_;
    head_ = 0;
  }
  if (tail_ == capacity_ && wanted_ > capacity_) {
    const size_t grown = std::min(std::max(wanted_, capacity_ * 2), kMostCapacity);
    std::unique_ptr<uint8_t[]> bigger(allocate_ != nullptr ? allocate_(grown)
                                                           : new (std::nothrow) uint8_t[grown]);
    outOfMemory_ = bigger == nullptr;
    if (outOfMemory_) return {};
    std::memcpy(bigger.get(), bytes_.get(), tail_);
    bytes_ = std::move(bigger);
    capacity_ = grown;
  }
  return {bytes_.get() + tail_, capacity_ - tail_};
}

void LiveDecoder::Commit(size_t count) { tail_ = std::min(tail_ + count, capacity_); }

size_t LiveDecoder::Decode(ElacReader& reader) {
  size_t consumed = 0;
  wanted_ = 0;
  for (;;) {
    const std::span<const uint8_t> held(bytes_.get() + head_, tail_ - head_);
    // The search steps over whole words from where the last frame left the
    // stream, as a file's does; the words passed over are consumed.
    const size_t at = FindFrameStart(held);
    const FrameEnvelope envelope = ParseEnvelope(held.subspan(at));
    head_ += at;
    headOffset_ += at;
    consumed += at;
    if (envelope.status == EnvelopeStatus::kNoStart || envelope.status == EnvelopeStatus::kNoSize)
      break;
    if (envelope.status == EnvelopeStatus::kIncomplete) {
      wanted_ = envelope.SizeWithEnd();
      break;
    }
    // A size beyond any real frame is rejected on its envelope alone; a
    // sound one needs the whole frame and the end marker behind it.
    const size_t needed =
        envelope.status == EnvelopeStatus::kTooLarge ? kFrameEnvelopeSize : envelope.SizeWithEnd();
    // The decoder sees exactly the frame's bytes, so what it does with them
    // cannot depend on how much happened to arrive behind them.
    stream_.Reset(held.subspan(at, needed));
    reader.SetReadOrigin(headOffset_);
    reader.ReadFrame(stream_);
    stream_.clear();
    const std::streamoff after = stream_.tellg();
    // At least the start marker goes, so the pass always moves on.
    const size_t step =
        after >= static_cast<std::streamoff>(kWord) ? static_cast<size_t>(after) : kWord;
    head_ += step;
    headOffset_ += step;
    consumed += step;
  }
  if (head_ == tail_) head_ = tail_ = 0;
  return consumed;
}

size_t LiveDecoder::DecodeRest(ElacReader& reader) {
  const size_t rest = held();
  stream_.Reset({bytes_.get() + head_, rest});
  // Every call consumes at least a word or ends the stream.
  for (size_t calls = 0; calls <= rest / kWord + 1 && stream_.good(); ++calls) {
    reader.SetReadOrigin(headOffset_ + static_cast<uint64_t>(stream_.tellg()));
    reader.ReadFrame(stream_);
  }
  stream_.clear();
  wanted_ = 0;
  Clear();
  return rest;
}

}  // namespace elac
