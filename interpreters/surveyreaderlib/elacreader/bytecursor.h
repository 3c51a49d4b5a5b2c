// The one place where XSE bytes are read. A ByteCursor walks a span of bytes
// in a byte order fixed at construction. Every read checks the bytes left
// first and, when they are too few, fails without moving; sub-cursors are
// bounded to the bytes they were cut from, so a lying size inside a frame or
// a group can never reach past its parent.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <span>
#include <type_traits>

namespace elac {

template <typename T>
concept WireScalar = std::is_arithmetic_v<T> &&
    (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);

// Reverse the bytes of an unsigned word.
inline uint16_t ByteSwap(uint16_t v) { return __builtin_bswap16(v); }
inline uint32_t ByteSwap(uint32_t v) { return __builtin_bswap32(v); }
inline uint64_t ByteSwap(uint64_t v) { return __builtin_bswap64(v); }

// A frame's byte order is a std::endian: std::endian::big or ::little.

// Loads a T from unaligned bytes stored in the given byte order: memcpy
// into an unsigned word, swap when the order differs from the machine's,
// then reinterpret the bits.
template <WireScalar T>
inline T LoadScalar(const uint8_t* bytes, std::endian order) {
  using Bits = std::conditional_t<
      sizeof(T) == 1, uint8_t,
      std::conditional_t<sizeof(T) == 2, uint16_t,
                         std::conditional_t<sizeof(T) == 4, uint32_t, uint64_t>>>;
  Bits bits;
  std::memcpy(&bits, bytes, sizeof bits);
  if constexpr (sizeof(T) > 1) {
    if (order != std::endian::native) bits = ByteSwap(bits);
  }
  return std::bit_cast<T>(bits);
}

// Checked multiplication for sizing from counts read off the wire.
inline std::optional<size_t> CheckedMul(uint64_t count, size_t elementSize) {
  if (elementSize != 0 && count > std::numeric_limits<size_t>::max() / elementSize)
    return std::nullopt;
  return static_cast<size_t>(count) * elementSize;
}

// A view of `count` scalars of one type, already bounds-checked when it was
// cut from a cursor; element access needs no further checks.
template <WireScalar T>
class ScalarArray {
 public:
  ScalarArray() = default;
  ScalarArray(const uint8_t* bytes, size_t count, std::endian order)
      : bytes_(bytes), count_(count), order_(order) {}
  size_t size() const { return count_; }
  T operator[](size_t index) const { return LoadScalar<T>(bytes_ + index * sizeof(T), order_); }
  // The raw wire bytes, for conversions that take many values at a time.
  const uint8_t* data() const { return bytes_; }
  std::endian order() const { return order_; }
  // `count` elements from `first` on; empty when they are not all there.
  ScalarArray Slice(size_t first, size_t count) const {
    if (first > count_ || count > count_ - first) return {};
    return {bytes_ + first * sizeof(T), count, order_};
  }

 private:
  const uint8_t* bytes_ = nullptr;
  size_t count_ = 0;
  std::endian order_ = std::endian::little;
};

class ByteCursor {
 public:
  ByteCursor() = default;
  ByteCursor(std::span<const uint8_t> bytes, std::endian order) : bytes_(bytes), order_(order) {}

  std::endian order() const { return order_; }
  size_t offset() const { return offset_; }
  size_t size() const { return bytes_.size(); }
  size_t remaining() const { return bytes_.size() - offset_; }
  bool empty() const { return remaining() == 0; }
  const uint8_t* position() const { return bytes_.data() + offset_; }

  // Reads one scalar; on too few bytes returns false and leaves both the
  // cursor and `value` untouched.
  template <WireScalar T>
  [[nodiscard]] bool Read(T& value) {
    if (remaining() < sizeof(T)) return false;
    value = LoadScalar<T>(bytes_.data() + offset_, order_);
    offset_ += sizeof(T);
    return true;
  }

  bool Skip(size_t count) {
    if (remaining() < count) return false;
    offset_ += count;
    return true;
  }

  // Moves to an absolute offset within the cursor's bytes.
  bool Seek(size_t at) {
    if (at > bytes_.size()) return false;
    offset_ = at;
    return true;
  }

  // Cuts the next `count` bytes off as a cursor of their own (same byte
  // order) and advances past them; fails without moving when they are not all
  // there.
  std::optional<ByteCursor> Take(size_t count) {
    if (remaining() < count) return std::nullopt;
    ByteCursor sub(bytes_.subspan(offset_, count), order_);
    offset_ += count;
    return sub;
  }

  // Cuts `count` scalars off as an array view; fails without moving when
  // count x size overflows or runs past the end.
  template <WireScalar T>
  std::optional<ScalarArray<T>> TakeArray(uint64_t count) {
    const auto bytes = CheckedMul(count, sizeof(T));
    if (!bytes || remaining() < *bytes) return std::nullopt;
    ScalarArray<T> array(bytes_.data() + offset_, static_cast<size_t>(count), order_);
    offset_ += *bytes;
    return array;
  }

 private:
  std::span<const uint8_t> bytes_;
  size_t offset_ = 0;
  std::endian order_ = std::endian::little;
};

}  // namespace elac
