#include "platform/interruptsignal.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdio>

#include "platform/environment.h"
#include "platform/modulepath.h"
#include "platform/processexit.h"
#include "platform/sleep.h"
#include "support/childprocess.h"

namespace platform {
namespace {

constexpr const char* kChildVariable = "XSE_TEST_INTERRUPT_CHILD";

// The child role of the Ctrl-C test: started as this test program with
// kChildVariable set, it catches, says it is ready and ends with 0 once a
// request arrived (1 when none came within ten seconds).
const bool g_childRole = [] {
  if (!GetEnvironmentVariable(kChildVariable)) return false;
  const InterruptCatcher catcher;
  std::printf("ready\n");
  std::fflush(stdout);
  for (int waited = 0; waited < 10000 && !catcher.Caught(); waited += 10) SleepMilliseconds(10);
  ExitProcess(catcher.Caught() ? 0 : 1);
}();

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
      EXPECT_EQ(catcher.Terminated(), signal == SIGTERM);
      EXPECT_EQ(HandlerOf(signal), SIG_DFL) << "a second request ends the program";
    }
    EXPECT_EQ(HandlerOf(signal), before) << signal;
  }
  InterruptCatcher fresh;
  EXPECT_FALSE(fresh.Caught());
}

TEST(InterruptCatcherTest, NestedCatchersShareOneHandling) {
  const SignalHandler before = HandlerOf(SIGINT);
  {
    InterruptCatcher outer;
    const SignalHandler installed = HandlerOf(SIGINT);
    { InterruptCatcher inner; }
    EXPECT_EQ(HandlerOf(SIGINT), installed) << "the inner one put the old handling back";
    InterruptCatcher inner;
    ASSERT_EQ(std::raise(SIGINT), 0);
    EXPECT_TRUE(outer.Caught());
    EXPECT_TRUE(inner.Caught());
  }
  EXPECT_EQ(HandlerOf(SIGINT), before);
}

// As at a terminal: Ctrl-C on Linux, Ctrl-Break to the child's own process
// group on Windows, where a console sends it.
TEST(InterruptCatcherTest, CatchesTheUsersInterruptFromOutside) {
  ASSERT_FALSE(g_childRole);
  xsetest::ChildOptions options;
  options.environment = {{kChildVariable, "1"}};
  options.outputToPipe = true;
  xsetest::ChildProcess child(ExecutablePath(), {}, options);
  ASSERT_TRUE(child.Started());
  EXPECT_EQ(child.ReadOutput(5, std::chrono::seconds(30)), "ready");
  if (!child.Interrupt()) GTEST_SKIP() << "the system sends no console events here (no console)";
  EXPECT_EQ(child.Wait(std::chrono::seconds(30)).status, 0);
}

}  // namespace
}  // namespace platform
