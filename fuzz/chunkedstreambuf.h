// A stream buffer over bytes in memory that shows at most `chunk` bytes at a
// time, as a file's read buffer does. Seeks may go past the end (reads there
// find the end of the data), as on a file.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <streambuf>

namespace xsefuzz {

class ChunkedStreamBuf final : public std::streambuf {
 public:
  ChunkedStreamBuf(std::span<const uint8_t> bytes, size_t chunk)
      : data_(const_cast<char*>(reinterpret_cast<const char*>(bytes.data()))),
        size_(bytes.size()),
        chunk_(std::max<size_t>(chunk, 1)) {}

 protected:
  int_type underflow() override {
    const size_t at = Position();
    window_ = at;
    if (at >= size_) {
      setg(nullptr, nullptr, nullptr);
      return traits_type::eof();
    }
    setg(data_ + at, data_ + at, data_ + at + std::min(chunk_, size_ - at));
    return traits_type::to_int_type(*gptr());
  }
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode which) override {
    if ((which & std::ios_base::in) == 0) return pos_type(off_type(-1));
    off_type base = 0;
    if (direction == std::ios_base::cur) base = static_cast<off_type>(Position());
    if (direction == std::ios_base::end) base = static_cast<off_type>(size_);
    if (base + offset < 0) return pos_type(off_type(-1));
    window_ = static_cast<size_t>(base + offset);
    setg(nullptr, nullptr, nullptr);
    return pos_type(base + offset);
  }
  pos_type seekpos(pos_type position, std::ios_base::openmode which) override {
    return seekoff(off_type(position), std::ios_base::beg, which);
  }

 private:
  size_t Position() const { return window_ + static_cast<size_t>(gptr() - eback()); }

  char* data_;
  size_t size_;
  size_t chunk_;
  size_t window_ = 0;  // offset of the window's first byte
};

}  // namespace xsefuzz
