#include "platform/pagebuffer.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <numeric>

namespace {

TEST(PageBuffer, GrowingKeepsTheContentsAndReleaseHandsTheMemoryOver) {
  platform::PageBuffer buffer;
  ASSERT_TRUE(buffer.Reserve(1000 * sizeof(uint32_t)));
  auto* values = static_cast<uint32_t*>(buffer.data());
  std::iota(values, values + 1000, 7u);
  // Far past the first mapping, so the pages are remapped.
  ASSERT_TRUE(buffer.Reserve(size_t{40} << 20));
  EXPECT_GE(buffer.capacity(), size_t{40} << 20);
  values = static_cast<uint32_t*>(buffer.data());
  EXPECT_EQ(values[0], 7u);
  EXPECT_EQ(values[999], 1006u);
  values[(size_t{40} << 20) / sizeof(uint32_t) - 1] = 1;  // the new end is writable
  EXPECT_TRUE(buffer.Reserve(16));                        // never shrinks

  const platform::PageBuffer::Block block = buffer.Release();
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(static_cast<uint32_t*>(block.data)[999], 1006u);
  platform::PageBuffer::Free(block);
}

}  // namespace
