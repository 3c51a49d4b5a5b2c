#include "quorsocket/quorsocket.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/processinfo.h"
#include "quorsocket/sockettestsupport.h"

namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

constexpr uint32_t kLoopback = 0x0100007Fu;  // 127.0.0.1, first octet first
constexpr char kRefused[] = "The attempt to connect was forcefully rejected. ";

using QuorSocketTest = sockettest::SocketTest;

TEST_F(QuorSocketTest, ConnectsOnTheFirstAttemptToTheGivenOrTheLocalAddress) {
  uint16_t port = 0;
  const platform::SocketHandle listener = Keep(platform::ListenOnLoopback(port));
  ASSERT_NE(listener, platform::kInvalidSocket);

  struct Case {
    uint32_t address;
    const char* line;
  };
  for (const Case& c : {Case{kLoopback, "Using remote addr 127.0.0.1"},
                        Case{0, "Using local addr INADDR_LOOPBACK 127.0.0.1"},
                        Case{0x0001A8C0u, "Using local addr INADDR_LOOPBACK 127.0.0.1"}}) {
    SCOPED_TRACE(c.line);
    const size_t before = CountLinesEndingWith(c.line);
    platform::SocketHandle socket = platform::kInvalidSocket;
    EXPECT_EQ(CreateSocketAndConnectToServer(platform::kStreamSocket, port, c.address, &socket, 0,
                                             3, 8192),
              1);
    Keep(socket);
    Keep(platform::AcceptConnection(listener));
    EXPECT_EQ(CountLinesEndingWith(c.line), before + 1);
  }
  EXPECT_EQ(CountLinesEndingWith(kRefused), 0u);
  EXPECT_EQ(CountLinesEndingWith("CreateSocketAndConnectToServer client id=" +
                                 std::to_string(platform::CurrentProcessId())),
            3u);
}

TEST_F(QuorSocketTest, RefusedConnectsAreTracedOncePerAttemptAndLeaveTheSocketOpen) {
  const uint16_t port = ClosedPort();
  struct Case {
    int32_t attempts;
    size_t tried;
  };
  for (const Case& c : {Case{2, 2}, Case{0, 10}, Case{-1, 0}}) {
    SCOPED_TRACE(c.attempts);
    const size_t before = CountLinesEndingWith(kRefused);
    platform::SocketHandle socket = platform::kInvalidSocket;
    EXPECT_EQ(CreateSocketAndConnectToServer(platform::kStreamSocket, port, kLoopback, &socket, 0,
                                             c.attempts, 8192, 1),
              0);
    ASSERT_NE(Keep(socket), platform::kInvalidSocket);
    EXPECT_EQ(CountLinesEndingWith(kRefused), before + c.tried);
  }
  EXPECT_EQ(CountLinesEndingWith("NTCreateSocketAndConnectToServer(): socket error 10061"), 12u);
  EXPECT_TRUE(boxes_.empty());  // a failed connect is for the trace only
}

TEST_F(QuorSocketTest, ReceiveBufferGrowsOnlyWhenSmallerThanWanted) {
  uint16_t port = 0;
  Keep(platform::ListenOnLoopback(port));
  platform::SocketHandle socket = platform::kInvalidSocket;
  ASSERT_EQ(
      CreateSocketAndConnectToServer(platform::kStreamSocket, port, kLoopback, &socket, 1, 1, 1, 0),
      1);
  Keep(socket);
  EXPECT_EQ(CountLinesEndingWith("Receive Buffer Changed to"), 0u);

  int32_t initial = 0;
  ASSERT_TRUE(platform::ReceiveBufferSize(socket, initial));
  ASSERT_EQ(CreateSocketAndConnectToServer(platform::kStreamSocket, port, kLoopback, &socket, 1, 1,
                                           initial + 4096, 0),
            1);
  Keep(socket);
  const std::vector<std::string> lines = TraceLines();
  const std::string prefix = "socket= " + std::to_string(static_cast<int32_t>(socket));
  EXPECT_THAT(lines,
              testing::Contains(EndsWith(prefix + " Receive Buffer " + std::to_string(initial))));
  EXPECT_THAT(lines, testing::Contains(HasSubstr(prefix + " Receive Buffer Changed to ")));
}

TEST_F(QuorSocketTest, SocketThatCannotBeMadeGoesToTheErrorLog) {
  platform::SocketHandle socket = 42;
  EXPECT_EQ(CreateSocketAndConnectToServer(99, 1, kLoopback, &socket, 0, 3, 8192, 0), 0);
  EXPECT_EQ(socket, platform::kInvalidSocket);
  EXPECT_EQ(CountLinesEndingWith("NTCreateSocketAndConnectToServer(): socket error 10044"), 1u);
  EXPECT_EQ(
      CountLinesEndingWith("The specified socket type is not supported in this address family."),
      1u);
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_THAT(ErrorLog(), HasSubstr("Unix domain socket function error: socket"));
}

}  // namespace
