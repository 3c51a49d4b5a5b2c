#include "platform/memoryusage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

TEST(MemoryUsage, PeakGrowsWithMemoryTheProcessTouches) {
  const auto before = platform::PeakResidentBytes();
  ASSERT_TRUE(before.has_value());
  constexpr size_t kSize = 64u << 20;
  const auto block = std::make_unique<char[]>(kSize);
  std::memset(block.get(), 1, kSize);  // resident only once written
  const auto after = platform::PeakResidentBytes();
  ASSERT_TRUE(after.has_value());
  EXPECT_GE(*after, *before);
  EXPECT_GE(*after, kSize);
  EXPECT_EQ(block[kSize / 2], 1);
}

}  // namespace
