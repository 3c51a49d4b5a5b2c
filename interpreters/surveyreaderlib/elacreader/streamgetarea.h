// The bytes a stream buffer holds ready to be read (its get area), for a
// reader that can work on them where they lie instead of copying them out.
//
// A standard stream buffer shows its get area to derived classes only. A
// pointer to the protected member, formed inside a class derived from
// std::streambuf, may be applied to any stream buffer: that is plain
// standard C++, and it works on every kind of buffer (files, strings) without
// their knowing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <streambuf>

namespace elac {

class StreamGetArea : private std::streambuf {
 public:
  // The bytes from the read position to the end of what the buffer holds;
  // empty when it holds nothing (the next read would refill it).
  static std::span<const uint8_t> Of(std::streambuf& buffer) {
    char* (std::streambuf::*next)() const = &StreamGetArea::gptr;
    char* (std::streambuf::*end)() const = &StreamGetArea::egptr;
    const char* from = (buffer.*next)();
    const char* to = (buffer.*end)();
    if (from == nullptr || to <= from) return {};
    return {reinterpret_cast<const uint8_t*>(from), static_cast<size_t>(to - from)};
  }

  // Consumes `count` bytes of what Of() returned, as reading them would.
  static void Consume(std::streambuf& buffer, size_t count) {
    void (std::streambuf::*bump)(int) = &StreamGetArea::gbump;
    // A frame is at most some megabytes; larger counts go in steps.
    constexpr size_t kStep = 1u << 30;
    for (; count > kStep; count -= kStep) (buffer.*bump)(static_cast<int>(kStep));
    (buffer.*bump)(static_cast<int>(count));
  }
};

}  // namespace elac
