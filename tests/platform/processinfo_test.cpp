#include "platform/processinfo.h"

#include <gtest/gtest.h>
#include <unistd.h>

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

TEST(ProcessInfoTest, ProcessIdIsTheSystemOne) {
  EXPECT_EQ(CurrentProcessId(), static_cast<uint32_t>(::getpid()));
}

}  // namespace
}  // namespace platform
