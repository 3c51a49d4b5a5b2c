#include "tools/xse/xseclient.h"

#include <chrono>
#include <cstring>
#include <thread>
#include <vector>

namespace xsetool {
namespace {

// How long each wait may run before it looks at the running flag again.
constexpr uint32_t kSliceMs = 50;
constexpr uint32_t kConnectMs = 3000;
constexpr uint32_t kAcknowledgeMs = 3000;

bool StillRunning(const void* running) {
  return static_cast<const std::atomic<int32_t>*>(running)->load() != 0;
}

uint32_t AsAddress(const elac::Ipv4Address& octets) {
  uint32_t address = 0;
  std::memcpy(&address, octets.data(), sizeof address);
  return address;
}

}  // namespace

std::string SocketErrorWords(uint32_t error) {
  switch (error) {
    case platform::kSocketConnectionRefused:
      return "connection refused";
    case platform::kSocketTimedOut:
      return "connection timed out";
    case platform::kSocketHostUnreachable:
      return "host unreachable";
    case platform::kSocketNetworkUnreachable:
      return "network unreachable";
    case platform::kSocketConnectionReset:
      return "connection reset by the server";
    case platform::kSocketInterrupted:
      return "stopped";
    default:
      return "socket error " + std::to_string(error);
  }
}

XseClient::~XseClient() {
  if (socket_ != platform::kInvalidSocket) platform::CloseSocket(socket_);
}

bool XseClient::ConnectWithin(platform::SocketHandle& socket, const elac::Ipv4Address& address,
                              uint16_t port, std::string& error) {
  // A server that is still starting refuses: asked again until the time
  // for the connect is up.
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kConnectMs);
  for (;;) {
    socket = platform::CreateIpv4Socket(platform::kStreamSocket);
    if (socket != platform::kInvalidSocket &&
        platform::ConnectIpv4Within(socket, AsAddress(address), port, kConnectMs, StillRunning,
                                    &running_)) {
      // Without it the session still works; only a vanished server goes unnoticed.
      platform::EndConnectionWhenPeerDead(socket, deadAfterS_);
      return true;
    }
    const uint32_t failure = platform::LastSocketError();
    if (socket != platform::kInvalidSocket) platform::CloseSocket(socket);
    socket = platform::kInvalidSocket;
    if (failure != platform::kSocketConnectionRefused || running_.load() == 0 ||
        std::chrono::steady_clock::now() >= end) {
      error = SocketErrorWords(failure);
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(kSliceMs));
  }
}

bool XseClient::SendAll(std::span<const uint8_t> bytes) {
  while (!bytes.empty()) {
    const int32_t sent =
        platform::SendToSocket(socket_, bytes.data(), static_cast<int32_t>(bytes.size()));
    if (sent <= 0) return false;
    bytes = bytes.subspan(static_cast<size_t>(sent));
  }
  return true;
}

bool XseClient::Open(const elac::Ipv4Address& address, uint16_t port, std::string& error) {
  if (!ConnectWithin(socket_, address, port, error)) return false;
  request_.SetSequenceNumber(1);
  request_.SetSenderAddress(platform::LocalHostAddress());
  request_.SetPort(elac::RequestFrame::kRequestPort);
  request_.SetLinkCode(elac::RequestFrame::kLinkAsk);
  request_.SetClientIdentification();
  request_.SetName("xse record");
  if (!SendAll(elac::WireBytes(request_))) {
    error = SocketErrorWords(platform::LastSocketError());
    return false;
  }
  if (!ReadAcknowledge(error)) return false;
  // The server's port is released with the request before it is closed.
  request_.SetLinkCode(elac::RequestFrame::kLinkRelease);
  SendAll(elac::WireBytes(request_));
  platform::CloseSocket(socket_);
  socket_ = platform::kInvalidSocket;
  if (!ConnectWithin(socket_, address, acknowledge_.DataPort(), error)) return false;
  return SendSetUp(error);
}

bool XseClient::ReadAcknowledge(std::string& error) {
  std::vector<uint8_t> reply(elac::AcknowledgeFrame::kSize, 0);
  size_t held = 0;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(kAcknowledgeMs);
  while (held < elac::AcknowledgeFrame::kFrameLength) {
    if (running_.load() == 0) {
      error = "stopped";
      return false;
    }
    if (std::chrono::steady_clock::now() >= end) {
      error = "no acknowledge from the server in time";
      return false;
    }
    if (!platform::WaitUntilReadable(socket_, kSliceMs)) continue;
    const int32_t got = platform::ReceiveSome(socket_, reply.data() + held,
                                              static_cast<int32_t>(reply.size() - held));
    if (got <= 0) {
      error = got == 0 ? "the server closed the connection without an acknowledge"
                       : SocketErrorWords(platform::LastSocketError());
      return false;
    }
    held += static_cast<size_t>(got);
  }
  acknowledge_.Receive(reply);
  return true;
}

bool XseClient::SendSetUp(std::string& error) {
  elac::SetupFrame1 setup1 = elac::SetupFrame1::Build();
  elac::SetupFrame2 setup2 = elac::SetupFrame2::Build();
  elac::SetupFrame3 setup3 = elac::SetupFrame3::Build();
  setup1.SetSequenceNumber(2);
  setup2.SetSequenceNumber(3);
  setup3.SetSequenceNumber(4);
  setup1.SetSenderAddress(request_.SenderAddress());
  setup2.SetSenderAddress(request_.SenderAddress());
  setup3.SetSenderAddress(request_.SenderAddress());
  if (SendAll(elac::WireBytes(setup1)) && SendAll(elac::WireBytes(setup2)) &&
      SendAll(elac::WireBytes(setup3))) {
    return true;
  }
  error = SocketErrorWords(platform::LastSocketError());
  return false;
}

int64_t XseClient::Receive(std::span<uint8_t> into, uint32_t waitMs, std::string& error) {
  if (!platform::WaitUntilReadable(socket_, waitMs)) return 0;
  const int32_t got =
      platform::ReceiveSome(socket_, into.data(), static_cast<int32_t>(into.size()));
  if (got > 0) return got;
  if (got == 0) return -1;
  const uint32_t failure = platform::LastSocketError();
  error = failure == platform::kSocketTimedOut
              ? "no answer from the server for " + std::to_string(deadAfterS_) + " s"
              : SocketErrorWords(failure);
  return -2;
}

void XseClient::Release() {
  if (socket_ == platform::kInvalidSocket) return;
  if (acknowledge_.SignedDataPort() > 0) {
    acknowledge_.SetLinkCode(elac::RequestFrame::kLinkRelease);
    SendAll(elac::WireBytes(acknowledge_));
  }
  request_.SetLinkCode(elac::RequestFrame::kLinkRelease);
  SendAll(elac::WireBytes(request_));
  platform::CloseSocket(socket_);
  socket_ = platform::kInvalidSocket;
}

}  // namespace xsetool
