#include "platform/memoryusage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

TEST(MemoryUsage, PeakGrowsWithMemoryTheProcessTouchesAndCountsBytes) {
  constexpr size_t kSize = 64u << 20;
  const auto block = std::make_unique<char[]>(kSize);
  std::memset(block.get(), 1, kSize);  // resident only once written
  EXPECT_GE(platform::PeakResidentBytes().value_or(0), kSize);
  EXPECT_EQ(block[kSize / 2], 1);
}

}  // namespace
