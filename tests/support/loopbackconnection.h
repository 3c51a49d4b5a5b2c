// A connected pair of TCP sockets on 127.0.0.1, both closed at the end.
#pragma once

#include <gtest/gtest.h>

#include "platform/tcpsocket.h"

namespace xsetest {

constexpr uint32_t kLoopback = 0x0100007Fu;  // 127.0.0.1, first octet first

// A socket closed at the end of the scope.
struct Socket {
  explicit Socket(platform::SocketHandle h = platform::CreateIpv4Socket(platform::kStreamSocket))
      : handle(h) {}
  ~Socket() {
    if (handle != platform::kInvalidSocket) platform::CloseSocket(handle);
  }
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  platform::SocketHandle handle;
};

// `client` connected within a time, which leaves it blocking; `server` the
// accepted end.
struct Connection {
  Connection() {
    uint16_t port = 0;
    const Socket listener(platform::ListenOnLoopback(port));
    EXPECT_TRUE(platform::ConnectIpv4Within(client.handle, kLoopback, port, 2000));
    server.handle = platform::AcceptConnection(listener.handle);
    EXPECT_NE(server.handle, platform::kInvalidSocket);
  }
  Socket client;
  Socket server{platform::kInvalidSocket};
};

}  // namespace xsetest
