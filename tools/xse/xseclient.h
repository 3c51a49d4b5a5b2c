// A plain client of an XSE server for `xse record`: the request and
// acknowledge on the server's port, the set-up frames on the data port,
// then the data as it arrives, untouched. Blocking sockets on the caller's
// thread; every wait ends within a fraction of a second of a stop.
#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/elacmessages.h"
#include "platform/tcpsocket.h"

namespace xsetool {

class XseClient {
 public:
  // `running` (not owned) is looked at in every wait; 0 stops. A server
  // that answers nothing, not even the system's probes, for `deadAfterS`
  // seconds is taken for gone.
  XseClient(const std::atomic<int32_t>& running, uint32_t deadAfterS)
      : running_(running), deadAfterS_(deadAfterS) {}
  XseClient(const XseClient&) = delete;
  XseClient& operator=(const XseClient&) = delete;
  ~XseClient();

  // Sets up the session with the server at `address` (first octet first)
  // :`port`. False with `error` set when it cannot ("connection refused",
  // "no acknowledge from the server in time", "stopped").
  bool Open(const elac::Ipv4Address& address, uint16_t port, std::string& error);
  // Waits up to `waitMs` for data and reads what is there into `into`: the
  // count read, 0 when none came in time, -1 at the server's orderly end,
  // -2 on a failure (`error` set: "no answer from the server for S s" when
  // it was gone).
  int64_t Receive(std::span<uint8_t> into, uint32_t waitMs, std::string& error);
  // Tells the server the session is over and closes the connection.
  void Release();

 private:
  bool ConnectWithin(platform::SocketHandle& socket, const elac::Ipv4Address& address,
                     uint16_t port, std::string& error);
  bool ReadAcknowledge(std::string& error);
  bool SendSetUp(std::string& error);
  bool SendAll(std::span<const uint8_t> bytes);

  const std::atomic<int32_t>& running_;
  uint32_t deadAfterS_;
  platform::SocketHandle socket_ = platform::kInvalidSocket;
  elac::RequestFrame request_ = elac::RequestFrame::Build();
  elac::AcknowledgeFrame acknowledge_ = elac::AcknowledgeFrame::Build();
};

// The words of a socket error a person reads ("connection refused").
std::string SocketErrorWords(uint32_t error);

}  // namespace xsetool
