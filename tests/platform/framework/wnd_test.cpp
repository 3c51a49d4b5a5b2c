#include "platform/framework/wnd.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace platform
