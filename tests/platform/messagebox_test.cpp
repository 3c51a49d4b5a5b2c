#include "platform/messagebox.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

namespace {

TEST(MessageBoxTest, ScopedHandlersNest) {
  std::string seen;
  {
    platform::ScopedMessageBoxHandler outer(
        [&seen](auto& caption, auto& text) { seen += "outer " + caption + text + ","; });
    {
      platform::ScopedMessageBoxHandler inner(
          [&seen](auto& caption, auto& text) { seen += "inner " + caption + text + ","; });
      platform::ShowMessageBox("B", "2");
    }
    platform::ShowMessageBox("C", "3");
  }
  EXPECT_EQ(seen, "inner B2,outer C3,");
}

// Run under the thread sanitizer, this also shows the swap is race-free.
TEST(MessageBoxTest, HandlersCanBeSwappedWhileAnotherThreadShowsBoxes) {
  std::atomic<int> shown{0};
  const platform::MessageBoxHandler count = [&shown](auto&, auto&) { ++shown; };
  platform::ScopedMessageBoxHandler scope(count);
  std::thread shower([] {
    for (int i = 0; i < 200; ++i) platform::ShowMessageBox("c", "t");
  });
  for (int i = 0; i < 100; ++i) platform::SetMessageBoxHandler(count);
  shower.join();
  EXPECT_EQ(shown, 200);
}

}  // namespace
