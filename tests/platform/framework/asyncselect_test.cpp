#include "platform/framework/asyncselect.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "support/loopbackconnection.h"
#include "support/wine.h"

namespace platform {
namespace {

constexpr uint32_t kSocketMessage = kFirstApplicationMessage + 7;

// A window that reads at most `readSize` bytes per read event (none when
// 0) and notes every event it is given.
class SocketWindow : public CWnd {
 public:
  explicit SocketWindow(int32_t readSize) : readSize_(readSize) {}
  ~SocketWindow() override { DestroyWindow(); }

  intptr_t WindowProc(uint32_t message, uintptr_t wParam, intptr_t lParam) override {
    if (message != kSocketMessage) return 0;
    const auto parameter = static_cast<uint32_t>(lParam);
    events.push_back({parameter & 0xFFFFu, parameter >> 16});
    if ((parameter & 0xFFFFu) == kSocketReadEvent && readSize_ > 0) {
      std::string piece(static_cast<size_t>(readSize_), '\0');
      const int32_t count =
          ReceiveFromSocket(static_cast<SocketHandle>(wParam), piece.data(), readSize_);
      if (count > 0) received.append(piece, 0, static_cast<size_t>(count));
    }
    return 1;
  }

  struct Event {
    uint32_t event;
    uint32_t error;
    bool operator==(const Event&) const = default;
  };
  std::vector<Event> events;
  std::string received;

 private:
  int32_t readSize_;
};

// A connected pair on loopback: `client` for the window, `server` the
// accepted end.
class AsyncSelectTest : public ::testing::Test {
 protected:
  void ServerSends(const std::string& text) {
    ASSERT_EQ(SendToSocket(server_, text.data(), static_cast<int32_t>(text.size())),
              static_cast<int32_t>(text.size()));
  }

  // Dispatches this thread's messages until `done` holds; at most 2 s.
  static bool DispatchUntil(const std::function<bool()>& done) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (std::chrono::steady_clock::now() < end) {
      DispatchThreadMessages();
      if (done()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
  }
  // Dispatches for `milliseconds`, to see that nothing (more) comes.
  static void DispatchFor(int milliseconds) {
    DispatchUntil(
        [end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds)] {
          return std::chrono::steady_clock::now() >= end;
        });
  }

  xsetest::Connection pair_;
  SocketHandle& client_ = pair_.client.handle;
  SocketHandle& server_ = pair_.server.handle;
};

using Event = SocketWindow::Event;

// A peer that only shuts down its sending side ends the connection for this
// end the same way: the same end of stream reaches the same check.
TEST_F(AsyncSelectTest, AnOrderlyCloseComesOnceAfterAllTheDataWasRead) {
  SocketWindow window(7);  // several reads for what was sent
  ASSERT_TRUE(window.CreateOnThisThread());
  ASSERT_TRUE(SelectSocketEvents(client_, window.GetSafeHwnd(), kSocketMessage,
                                 kSocketReadEvent | kSocketCloseEvent));
  const std::string text = "the data sent before the end of the connection";
  ServerSends(text);
  CloseSocket(server_);
  server_ = kInvalidSocket;
  ASSERT_TRUE(DispatchUntil(
      [&] { return window.events.size() > 1 && window.events.back().event == kSocketCloseEvent; }));
  DispatchFor(50);
  EXPECT_EQ(window.received, text);
  EXPECT_EQ(window.events.back(), (Event{kSocketCloseEvent, 0}));
  window.events.pop_back();
  for (const Event& event : window.events) EXPECT_EQ(event, (Event{kSocketReadEvent, 0}));
}

TEST_F(AsyncSelectTest, AResetComesAsACloseWithItsError) {
  SocketWindow window(64);
  ASSERT_TRUE(window.CreateOnThisThread());
  ASSERT_TRUE(SelectSocketEvents(client_, window.GetSafeHwnd(), kSocketMessage,
                                 kSocketReadEvent | kSocketCloseEvent));
  AbortConnection(server_);
  server_ = kInvalidSocket;
  ASSERT_TRUE(DispatchUntil([&] { return !window.events.empty(); }));
  DispatchFor(50);
  ASSERT_EQ(window.events.size(), 1u);
  EXPECT_EQ(window.events[0].event, kSocketCloseEvent);
  // Wine's receiving side never reports the reset.
  if (xsetest::RunningUnderWine()) GTEST_SKIP() << "this system reads a reset as an orderly end";
  EXPECT_EQ(window.events[0].error, kSocketConnectionReset);
}

TEST_F(AsyncSelectTest, AReadEventWaitsForTheReadOfTheOneBefore) {
  SocketWindow window(0);  // reads nothing itself
  ASSERT_TRUE(window.CreateOnThisThread());
  ASSERT_TRUE(SelectSocketEvents(client_, window.GetSafeHwnd(), kSocketMessage, kSocketReadEvent));
  ServerSends("one");
  ASSERT_TRUE(DispatchUntil([&] { return !window.events.empty(); }));
  ServerSends("two");
  DispatchFor(50);
  EXPECT_EQ(window.events.size(), 1u);

  char bytes[2];
  ASSERT_EQ(ReceiveFromSocket(client_, bytes, 2), 2);
  ASSERT_TRUE(DispatchUntil([&] { return window.events.size() == 2; }));
  // Nothing is waiting once all was read: the read fails at once.
  char rest[16];
  EXPECT_EQ(ReceiveFromSocket(client_, rest, sizeof rest), 4);
  EXPECT_EQ(ReceiveFromSocket(client_, rest, sizeof rest), -1);
  EXPECT_EQ(LastSocketError(), kSocketWouldBlock);
}

TEST_F(AsyncSelectTest, OnlyTheOwningThreadSelectsAndAnyThreadCancels) {
  SocketWindow window(64);
  ASSERT_TRUE(window.CreateOnThisThread());
  const WindowHandle handle = window.GetSafeHwnd();
  std::thread([&] {
    EXPECT_FALSE(SelectSocketEvents(client_, handle, kSocketMessage, kSocketReadEvent));
  }).join();
  EXPECT_FALSE(SelectSocketEvents(client_, 0, kSocketMessage, kSocketReadEvent));

  ASSERT_TRUE(SelectSocketEvents(client_, handle, kSocketMessage, kSocketReadEvent));
  std::thread([&] { EXPECT_TRUE(SelectSocketEvents(client_, handle, 0, 0)); }).join();
  ServerSends("unseen");
  DispatchFor(100);
  EXPECT_TRUE(window.events.empty());
}

}  // namespace
}  // namespace platform
