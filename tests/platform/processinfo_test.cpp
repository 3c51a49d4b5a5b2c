#include "platform/processinfo.h"

#include <gtest/gtest.h>

#include <thread>

namespace platform {
namespace {

TEST(ProcessInfoTest, ThreadIdsAreNonZeroStableAndDistinct) {
  const uint32_t mine = CurrentThreadId();
  EXPECT_NE(mine, 0U);
  EXPECT_EQ(CurrentThreadId(), mine);
  uint32_t other = 0;
  std::thread([&other] { other = CurrentThreadId(); }).join();
  EXPECT_NE(other, 0U);
  EXPECT_NE(other, mine);
}

}  // namespace
}  // namespace platform
