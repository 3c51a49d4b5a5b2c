#include "platform/messagebox.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(MessageBoxTest, ScopedHandlersNestAndTheDefaultWritesToStandardError) {
  std::vector<std::string> seen;
  auto recorder = [&seen](std::string tag) {
    return [&seen, tag](const std::string& caption, const std::string& text) {
      seen.push_back(tag + caption + "|" + text);
    };
  };
  {
    platform::ScopedMessageBoxHandler outer(recorder("outer "));
    platform::ShowMessageBox("A", "1");
    {
      platform::ScopedMessageBoxHandler inner(recorder("inner "));
      platform::ShowMessageBox("B", "2");
    }
    platform::ShowMessageBox("C", "3");
  }
  EXPECT_EQ(seen, (std::vector<std::string>{"outer A|1", "inner B|2", "outer C|3"}));
  ::testing::internal::CaptureStderr();
  platform::ShowMessageBox("Error", "disk full");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Error: disk full\n");
}

TEST(MessageBoxTest, HandlersCanBeSwappedWhileOtherThreadsShowBoxes) {
  std::atomic<int> first{0}, second{0};
  const platform::MessageBoxHandler countFirst = [&](auto&, auto&) { ++first; };
  const platform::MessageBoxHandler countSecond = [&](auto&, auto&) { ++second; };
  constexpr int kThreads = 2, kBoxesPerThread = 200;
  {
    platform::ScopedMessageBoxHandler scope(countFirst);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([] {
        for (int i = 0; i < kBoxesPerThread; ++i) platform::ShowMessageBox("c", "t");
      });
    }
    for (int i = 0; i < 100; ++i) platform::SetMessageBoxHandler(i % 2 ? countFirst : countSecond);
    for (auto& thread : threads) thread.join();
  }
  EXPECT_EQ(first + second, kThreads * kBoxesPerThread);
}

}  // namespace
