#include "platform/interruptsignal.h"

#include <gtest/gtest.h>
#include <signal.h>

namespace platform {
namespace {

TEST(InterruptCatcherTest, CatchesOneRequestAndPutsThePreviousHandlingBack) {
  struct sigaction before {};
  ::sigaction(SIGINT, nullptr, &before);
  {
    InterruptCatcher catcher;
    EXPECT_FALSE(catcher.Caught());
    ASSERT_EQ(::raise(SIGINT), 0);
    EXPECT_TRUE(catcher.Caught());
  }
  struct sigaction after {};
  ::sigaction(SIGINT, nullptr, &after);
  EXPECT_EQ(after.sa_handler, before.sa_handler);
  InterruptCatcher fresh;
  EXPECT_FALSE(fresh.Caught());
}

TEST(InterruptCatcherTest, TerminationRequestCountsToo) {
  InterruptCatcher catcher;
  ASSERT_EQ(::raise(SIGTERM), 0);
  EXPECT_TRUE(catcher.Caught());
}

}  // namespace
}  // namespace platform
