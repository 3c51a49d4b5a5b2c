#include "platform/interruptsignal.h"

#include <gtest/gtest.h>
#include <signal.h>

namespace platform {
namespace {

TEST(InterruptCatcherTest, CatchesInterruptAndTerminationAndPutsThePreviousHandlingBack) {
  for (const int signal : {SIGINT, SIGTERM}) {
    struct sigaction before {
    }, after{};
    ::sigaction(signal, nullptr, &before);
    {
      InterruptCatcher catcher;
      EXPECT_FALSE(catcher.Caught());
      ASSERT_EQ(::raise(signal), 0);
      EXPECT_TRUE(catcher.Caught());
    }
    ::sigaction(signal, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler) << signal;
  }
  InterruptCatcher fresh;
  EXPECT_FALSE(fresh.Caught());
}

}  // namespace
}  // namespace platform
