#include "platform/memoryusage.h"

#include <gtest/gtest.h>

#include <cstring>
#include <memory>

namespace {

// Counted in bytes on every system: 64 MiB touched show as at least that
// (a count in kilobytes would not). No upper bound: a sanitizer's shadow
// memory counts too.
TEST(MemoryUsageTest, PeakGrowsByWhatIsTouched) {
  const std::optional<uint64_t> before = platform::PeakResidentBytes();
  ASSERT_TRUE(before.has_value());
  constexpr size_t kBytes = size_t{64} << 20;
  const auto block = std::make_unique<char[]>(kBytes);
  std::memset(block.get(), 1, kBytes);
  const std::optional<uint64_t> after = platform::PeakResidentBytes();
  ASSERT_TRUE(after.has_value());
  EXPECT_GE(*after, kBytes);
  EXPECT_GE(*after, *before);
  EXPECT_EQ(block[kBytes - 1], 1);
}

}  // namespace
