// A read-only binary stream over bytes in memory, without copying them: the
// whole span is the stream buffer's get area, so ReadFrame decodes frames
// where they lie. Seeks stay within the span.
#pragma once

#include <cstdint>
#include <istream>
#include <span>
#include <streambuf>

namespace elac {

class MemoryStreamBuf final : public std::streambuf {
 public:
  explicit MemoryStreamBuf(std::span<const uint8_t> bytes) { Reset(bytes); }

  // Makes `bytes` the whole stream, read from its start.
  void Reset(std::span<const uint8_t> bytes) {
    // The get area is only read through; the cast is the streambuf interface's.
    char* begin = const_cast<char*>(reinterpret_cast<const char*>(bytes.data()));
    setg(begin, begin, begin + bytes.size());
  }

 protected:
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode which) override {
    if ((which & std::ios_base::in) == 0) return pos_type(off_type(-1));
    off_type base = 0;
    if (direction == std::ios_base::cur) base = gptr() - eback();
    if (direction == std::ios_base::end) base = egptr() - eback();
    return seekpos(pos_type(base + offset), which);
  }
  pos_type seekpos(pos_type position, std::ios_base::openmode which) override {
    const off_type at = position;
    if ((which & std::ios_base::in) == 0 || at < 0 || at > egptr() - eback()) {
      return pos_type(off_type(-1));
    }
    setg(eback(), eback() + at, egptr());
    return position;
  }
};

class MemoryStream : public std::istream {
 public:
  explicit MemoryStream(std::span<const uint8_t> bytes) : std::istream(nullptr), buffer_(bytes) {
    rdbuf(&buffer_);
  }

  // Reads `bytes` from their start from now on, the stream's state cleared;
  // nothing is allocated.
  void Reset(std::span<const uint8_t> bytes) {
    buffer_.Reset(bytes);
    clear();
  }

 private:
  MemoryStreamBuf buffer_;
};

}  // namespace elac
