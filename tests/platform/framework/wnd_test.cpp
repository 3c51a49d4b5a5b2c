#include "platform/framework/wnd.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace platform {
namespace {

constexpr uint32_t kFirst = kFirstApplicationMessage;

class RecordingWindow : public CWnd {
 public:
  explicit RecordingWindow(int32_t createResult = 0) : createResult_(createResult) {}
  ~RecordingWindow() override { DestroyWindow(); }
  intptr_t WindowProc(uint32_t message, uintptr_t wParam, intptr_t) override {
    handled.push_back({message, std::this_thread::get_id()});
    return static_cast<intptr_t>(wParam);
  }
  struct Handled {
    uint32_t message;
    std::thread::id thread;
    bool operator==(const Handled&) const = default;
  };
  std::vector<Handled> handled;

 protected:
  int32_t OnCreate() override { return createResult_; }

 private:
  int32_t createResult_;
};

TEST(WindowTest, MessagesPostedFromAnyThreadAreHandledOnTheOwningThreadInOrder) {
  RecordingWindow window;
  ASSERT_TRUE(window.CreateOnThisThread());
  EXPECT_FALSE(window.CreateOnThisThread());
  const WindowHandle handle = window.GetSafeHwnd();
  std::thread poster([handle] {
    EXPECT_TRUE(PostWindowMessage(handle, kFirst, 0, 0));
    EXPECT_TRUE(PostWindowMessage(handle, kFirst + 1, 0, 0));
    // Another thread's queue never sees this window's messages.
    WindowMessage message;
    EXPECT_FALSE(PeekThreadMessage(message));
  });
  poster.join();
  EXPECT_TRUE(window.handled.empty());  // nothing happens until the owner looks
  DispatchThreadMessages();
  const auto here = std::this_thread::get_id();
  EXPECT_EQ(window.handled,
            (std::vector<RecordingWindow::Handled>{{kFirst, here}, {kFirst + 1, here}}));
  EXPECT_EQ(DispatchThreadMessage({handle, kFirst + 2, 42, 0}), 42);
}

TEST(WindowTest, DestroyedOrRefusedWindowsTakeNoMessages) {
  RecordingWindow refused(-1);
  EXPECT_FALSE(refused.CreateOnThisThread());
  EXPECT_EQ(refused.GetSafeHwnd(), 0u);

  RecordingWindow window;
  ASSERT_TRUE(window.CreateOnThisThread());
  const WindowHandle handle = window.GetSafeHwnd();
  ASSERT_TRUE(PostWindowMessage(handle, kFirst, 0, 0));
  EXPECT_TRUE(window.DestroyWindow());
  EXPECT_FALSE(window.DestroyWindow());
  EXPECT_FALSE(PostWindowMessage(handle, kFirst + 1, 0, 0));
  DispatchThreadMessages();  // the message queued before the window went is dropped
  EXPECT_TRUE(window.handled.empty());
}

// A window whose handler of kFirst takes a while, or destroys the window
// itself, and that counts its OnDestroy calls.
class SlowWindow : public CWnd {
 public:
  explicit SlowWindow(bool destroysItself = false) : destroysItself_(destroysItself) {}
  ~SlowWindow() override { DestroyWindow(); }
  intptr_t WindowProc(uint32_t message, uintptr_t, intptr_t) override {
    handled.push_back(message);
    if (message != kFirst) return 0;
    entered = true;
    if (destroysItself_) {
      EXPECT_TRUE(DestroyWindow());
      EXPECT_NE(GetSafeHwnd(), 0u);  // still there until this handler returns
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }
    left = true;
    return 0;
  }
  std::vector<uint32_t> handled;
  std::atomic<bool> entered{false};
  std::atomic<bool> left{false};
  std::atomic<int> destroyed{0};

 protected:
  void OnDestroy() override { ++destroyed; }

 private:
  bool destroysItself_;
};

TEST(WindowTest, DestroyedFromAnotherThreadAfterTheRunningHandlerAndNoneAfterwards) {
  SlowWindow window;
  ASSERT_TRUE(window.CreateOnThisThread());
  const WindowHandle handle = window.GetSafeHwnd();
  ASSERT_TRUE(PostWindowMessage(handle, kFirst, 0, 0));
  ASSERT_TRUE(PostWindowMessage(handle, kFirst + 1, 0, 0));
  bool leftBeforeDestroyed = false;
  std::thread destroyer([&] {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (!window.entered && std::chrono::steady_clock::now() < end) std::this_thread::yield();
    EXPECT_FALSE(window.IsOwnedByCallingThread());
    EXPECT_TRUE(window.DestroyWindow());
    leftBeforeDestroyed = window.left;
  });
  DispatchThreadMessages();  // the first handler runs while the other thread destroys
  destroyer.join();
  DispatchThreadMessages();
  EXPECT_TRUE(leftBeforeDestroyed);
  EXPECT_EQ(window.handled, std::vector<uint32_t>{kFirst});
  EXPECT_EQ(window.destroyed, 1);
  EXPECT_EQ(window.GetSafeHwnd(), 0u);
  EXPECT_FALSE(PostWindowMessage(handle, kFirst, 0, 0));

  // The same object makes a new window afterwards, on another thread too.
  std::thread([&] {
    EXPECT_TRUE(window.CreateOnThisThread());
    EXPECT_TRUE(PostWindowMessage(window.GetSafeHwnd(), kFirst + 2, 0, 0));
    DispatchThreadMessages();
    EXPECT_TRUE(window.DestroyWindow());
  }).join();
  EXPECT_EQ(window.handled, (std::vector<uint32_t>{kFirst, kFirst + 2}));
}

TEST(WindowTest, DestroyedFromItsOwnHandlerWhenThatReturns) {
  SlowWindow window(true);
  ASSERT_TRUE(window.CreateOnThisThread());
  const WindowHandle handle = window.GetSafeHwnd();
  ASSERT_TRUE(PostWindowMessage(handle, kFirst, 0, 0));
  ASSERT_TRUE(PostWindowMessage(handle, kFirst + 1, 0, 0));
  DispatchThreadMessages();
  EXPECT_EQ(window.handled, std::vector<uint32_t>{kFirst});
  EXPECT_EQ(window.destroyed, 1);
  EXPECT_EQ(window.GetSafeHwnd(), 0u);
  EXPECT_FALSE(window.DestroyWindow());
}

}  // namespace
}  // namespace platform
