#include "platform/interruptsignal.h"

#include <gtest/gtest.h>

#include <csignal>

namespace platform {
namespace {

// The handler in force for `signal`, left in place.
using SignalHandler = void (*)(int);
SignalHandler HandlerOf(int signal) {
  const SignalHandler handler = std::signal(signal, SIG_DFL);
  std::signal(signal, handler);
  return handler;
}

TEST(InterruptCatcherTest, CatchesInterruptAndTerminationAndPutsThePreviousHandlingBack) {
  for (const int signal : {SIGINT, SIGTERM}) {
    const SignalHandler before = HandlerOf(signal);
    {
      InterruptCatcher catcher;
      EXPECT_FALSE(catcher.Caught());
      ASSERT_EQ(std::raise(signal), 0);
      EXPECT_TRUE(catcher.Caught());
      EXPECT_EQ(HandlerOf(signal), SIG_DFL) << "a second request ends the program";
    }
    EXPECT_EQ(HandlerOf(signal), before) << signal;
  }
  InterruptCatcher fresh;
  EXPECT_FALSE(fresh.Caught());
}

}  // namespace
}  // namespace platform
