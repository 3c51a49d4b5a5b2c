#include "platform/messagebox.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace {

TEST(MessageBoxTest, DefaultShowsCaptionAndTextOnStandardError) {
  ::testing::internal::CaptureStderr();
  platform::ShowMessageBox("Error", "disk full");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Error: disk full\n");
}

TEST(MessageBoxTest, ScopedHandlerSeesBoxesAndPutsThePreviousOneBack) {
  std::vector<std::string> outer;
  std::vector<std::string> inner;
  {
    platform::ScopedMessageBoxHandler outerScope(
        [&](const std::string& caption, const std::string& text) {
          outer.push_back(caption + "|" + text);
        });
    platform::ShowMessageBox("A", "1");
    {
      platform::ScopedMessageBoxHandler innerScope(
          [&](const std::string& caption, const std::string& text) {
            inner.push_back(caption + "|" + text);
          });
      platform::ShowMessageBox("B", "2");
    }
    platform::ShowMessageBox("C", "3");
  }
  EXPECT_EQ(outer, (std::vector<std::string>{"A|1", "C|3"}));
  EXPECT_EQ(inner, (std::vector<std::string>{"B|2"}));

  ::testing::internal::CaptureStderr();
  platform::ShowMessageBox("D", "4");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "D: 4\n");
}

TEST(MessageBoxTest, HandlersCanBeSwappedWhileOtherThreadsShowBoxes) {
  std::atomic<int> first{0};
  std::atomic<int> second{0};
  const platform::MessageBoxHandler countFirst = [&](const std::string&, const std::string&) {
    ++first;
  };
  const platform::MessageBoxHandler countSecond = [&](const std::string&, const std::string&) {
    ++second;
  };
  constexpr int kThreads = 2;
  constexpr int kBoxesPerThread = 200;
  {
    platform::ScopedMessageBoxHandler scope(countFirst);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([] {
        for (int i = 0; i < kBoxesPerThread; ++i) platform::ShowMessageBox("c", "t");
      });
    }
    for (int i = 0; i < 100; ++i) {
      platform::SetMessageBoxHandler(i % 2 == 0 ? countSecond : countFirst);
    }
    for (auto& thread : threads) thread.join();
  }
  EXPECT_EQ(first + second, kThreads * kBoxesPerThread);
}

}  // namespace
