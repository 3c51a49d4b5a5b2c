#include "platform/processinfo.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/username.h"

namespace {

TEST(ProcessInfoTest, ThreadsHaveIdsOfTheirOwnAndTheUserHasAName) {
  const uint32_t here = platform::CurrentThreadId();
  uint32_t there = 0, process = 0;
  std::thread([&] {
    there = platform::CurrentThreadId();
    process = platform::CurrentProcessId();
  }).join();
  EXPECT_NE(here, 0u);
  EXPECT_NE(there, 0u);
  EXPECT_NE(here, there);
  EXPECT_EQ(process, platform::CurrentProcessId());
  const std::optional<std::string> user = platform::CurrentUserName();
  ASSERT_TRUE(user.has_value());
  EXPECT_FALSE(user->empty());
  EXPECT_EQ(user->find('\0'), std::string::npos);
}

}  // namespace
