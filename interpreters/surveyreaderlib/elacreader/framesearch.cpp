#include "interpreters/surveyreaderlib/elacreader/framesearch.h"

#include <cstring>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/streamgetarea.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace elac {
namespace {

// The two start markers as words loaded in the machine's own byte order.
uint32_t NativeWord(const char (&text)[5]) {
  uint32_t word = 0;
  std::memcpy(&word, text, 4);
  return word;
}

// Four words compared at once; the compiler maps this to one vector
// register on every target it supports, or splits it where there is none.
using Words = uint32_t __attribute__((vector_size(16)));

bool BlockHasMarker(const uint8_t* block, uint32_t big, uint32_t little) {
  Words any{};
  for (size_t at = 0; at < 64; at += 16) {
    Words words;
    std::memcpy(&words, block + at, sizeof words);
    any |= (words == big) | (words == little);
  }
  uint64_t halves[2];
  std::memcpy(halves, &any, sizeof halves);
  return (halves[0] | halves[1]) != 0;
}

}  // namespace

std::optional<std::endian> FrameByteOrder(std::span<const uint8_t> bytes) {
  if (bytes.size() < 4) return std::nullopt;
  for (const std::endian order : {std::endian::big, std::endian::little})
    if (LoadScalar<uint32_t>(bytes.data(), order) == kFrameStart) return order;
  return std::nullopt;
}

size_t FindFrameStart(std::span<const uint8_t> bytes) {
  static const uint32_t big = NativeWord("$HSF");
  static const uint32_t little = NativeWord("FSH$");
  const uint8_t* data = bytes.data();
  const size_t words = bytes.size() & ~size_t{3};
  size_t at = 0;
  // Whole blocks without a branch per word; the block with a hit is then
  // searched word by word.
  while (at + 64 <= words && !BlockHasMarker(data + at, big, little)) at += 64;
  for (; at < words; at += 4) {
    uint32_t word = 0;
    std::memcpy(&word, data + at, 4);
    if (word == big || word == little) return at;
  }
  return words;
}

std::optional<FrameStartFound> SeekFrameStart(std::istream& stream) {
  std::streambuf& buffer = *stream.rdbuf();
  FrameStartFound found;
  for (;;) {
    const std::span<const uint8_t> ready = StreamGetArea::Of(buffer);
    if (ready.size() >= 4) {
      const size_t at = FindFrameStart(ready);
      StreamGetArea::Consume(buffer, at);
      found.skipped += at;
      if (at < ready.size() - ready.size() % 4) {
        found.order = *FrameByteOrder(ready.subspan(at));
        return found;
      }
      continue;
    }
    if (ready.empty()) {
      // Refill without consuming; nothing more is the end of the data.
      if (std::istream::traits_type::eq_int_type(buffer.sgetc(),
                                                 std::istream::traits_type::eof())) {
        stream.setstate(std::ios_base::eofbit | std::ios_base::failbit);
        return std::nullopt;
      }
      if (StreamGetArea::Of(buffer).size() >= 4) continue;
    }
    // A word that straddles the end of what the buffer holds (or a buffer
    // that shows no bytes at all) is read as a word.
    uint8_t word[4];
    stream.read(reinterpret_cast<char*>(word), 4);
    if (stream.gcount() != 4) return std::nullopt;  // the read set the state
    if (const auto order = FrameByteOrder(word)) {
      found.order = *order;
      found.markerConsumed = true;
      return found;
    }
    found.skipped += 4;
  }
}

}  // namespace elac
