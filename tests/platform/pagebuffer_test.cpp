#include "platform/pagebuffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>

namespace {

constexpr size_t kMiB = size_t{1} << 20;

TEST(PageBuffer, GrowingKeepsTheContentsAndReleaseHandsTheMemoryOver) {
  platform::PageBuffer buffer;
  ASSERT_TRUE(buffer.Reserve(1000 * sizeof(uint32_t)));
  auto* values = static_cast<uint32_t*>(buffer.data());
  std::iota(values, values + 1000, 7u);
  // Far past the first mapping, so the pages are remapped.
  ASSERT_TRUE(buffer.Reserve(40 * kMiB));
  EXPECT_GE(buffer.capacity(), 40 * kMiB);
  values = static_cast<uint32_t*>(buffer.data());
  EXPECT_EQ(values[0], 7u);
  EXPECT_EQ(values[999], 1006u);
  values[40 * kMiB / sizeof(uint32_t) - 1] = 1;  // the new end is writable
  EXPECT_TRUE(buffer.Reserve(16));               // never shrinks

  const platform::PageBuffer::Block block = buffer.Release();
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(static_cast<uint32_t*>(block.data)[999], 1006u);
  platform::PageBuffer::Free(block);
}

// Growing by a little doubles the capacity, and the new part beyond what was
// asked is faulted in on another thread: what is written there meanwhile
// stays, through the next growth and a release that cuts it short.
TEST(PageBuffer, WritesWhileThePagesAheadAreFaultedInStay) {
  platform::PageBuffer buffer;
  ASSERT_TRUE(buffer.Reserve(10 * kMiB));
  for (size_t round = 0; round < 2; ++round) {
    const size_t filled = buffer.capacity() / sizeof(uint32_t);
    ASSERT_TRUE(buffer.Reserve(buffer.capacity() + 1));
    ASSERT_GE(buffer.capacity(), filled * sizeof(uint32_t) * 2);
    auto* values = static_cast<uint32_t*>(buffer.data());
    std::iota(values + filled, values + 2 * filled, static_cast<uint32_t>(filled));
    if (round == 0) std::iota(values, values + filled, 0u);
  }
  ASSERT_TRUE(buffer.Reserve(buffer.capacity() + 1));  // released while faulting ahead
  const platform::PageBuffer::Block block = buffer.Release();
  const auto* values = static_cast<const uint32_t*>(block.data);
  const size_t written = 40 * kMiB / sizeof(uint32_t);
  size_t wrong = 0;
  for (size_t i = 0; i < written; ++i) wrong += values[i] != i ? 1 : 0;
  EXPECT_EQ(wrong, 0u);
  platform::PageBuffer::Free(block);
}

}  // namespace
