#include "platform/tcpsocket.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "support/loopbackconnection.h"

namespace platform {
namespace {

using xsetest::Connection;
using xsetest::kLoopback;
using xsetest::Socket;

uint16_t ClosedPort() {
  uint16_t port = 0;
  CloseSocket(ListenOnLoopback(port));
  return port;
}

TEST(TcpSocketTest, FailedCallsGiveTheirSocketError) {
  const uint16_t closed = ClosedPort();
  char byte = 0;
  struct Case {
    const char* name;
    std::function<bool()> call;  // true when it succeeded
    uint32_t error;
  };
  const Case cases[] = {
      {"unknown socket type",
       [] {
         Socket made(CreateIpv4Socket(99));
         return made.handle != kInvalidSocket;
       },
       kSocketTypeNotSupported},
      {"refused connect", [&] { return ConnectIpv4(Socket().handle, kLoopback, closed); },
       kSocketConnectionRefused},
      {"refused connect within a time",
       [&] { return ConnectIpv4Within(Socket().handle, kLoopback, closed, 5000); },
       kSocketConnectionRefused},
      {"nothing to read yet",
       [&] {
         const Connection pair;
         return !SetNonBlocking(pair.client.handle) ||
                ReceiveSome(pair.client.handle, &byte, 1) != -1;
       },
       kSocketWouldBlock},
      {"negative length", [&] { return ReceiveSome(Connection().client.handle, &byte, -1) != -1; },
       kSocketInvalidArgument},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    EXPECT_FALSE(c.call());
    EXPECT_EQ(LastSocketError(), c.error);
  }
}

TEST(TcpSocketTest, AConnectWithinATimeLeavesABlockingSocket) {
  const Connection pair;
  EXPECT_FALSE(WaitUntilReadable(pair.client.handle, 20));
  std::thread sender([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    SendToSocket(pair.server.handle, "late", 4);
  });
  char bytes[8];
  EXPECT_EQ(ReceiveSome(pair.client.handle, bytes, sizeof bytes), 4);  // waited for it
  sender.join();
  EXPECT_EQ(std::string(bytes, 4), "late");
}

TEST(TcpSocketTest, ShutdownSendingEndsOneDirectionOnly) {
  const Connection pair;
  ASSERT_TRUE(ShutdownSending(pair.client.handle));
  char bytes[8];
  ASSERT_TRUE(WaitUntilReadable(pair.server.handle, 2000));
  EXPECT_EQ(ReceiveSome(pair.server.handle, bytes, sizeof bytes), 0);
  EXPECT_EQ(SendToSocket(pair.server.handle, "back", 4), 4);
  EXPECT_EQ(ReceiveSome(pair.client.handle, bytes, sizeof bytes), 4);
  EXPECT_EQ(std::string(bytes, 4), "back");
}

}  // namespace
}  // namespace platform
