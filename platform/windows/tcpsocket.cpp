#include "platform/tcpsocket.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "platform/hostaddresslist.h"
#include "win32.h"
// After win32.h: needs Winsock's types.
#include <mstcpip.h>

namespace platform {

namespace {

// ioctlsocket's command, as the signed number it takes.
constexpr long kNonBlockingCommand = static_cast<long>(FIONBIO);

SOCKET Native(SocketHandle socket) { return static_cast<SOCKET>(socket); }

bool SetBlocking(SocketHandle socket, bool blocking) {
  u_long nonBlocking = blocking ? 0 : 1;
  return ::ioctlsocket(static_cast<SOCKET>(socket), kNonBlockingCommand, &nonBlocking) == 0;
}

SocketHandle Handle(SOCKET socket) {
  return socket == INVALID_SOCKET ? kInvalidSocket : static_cast<SocketHandle>(socket);
}

sockaddr_in Ipv4(uint32_t address, uint16_t port) {
  sockaddr_in socketAddress{};
  socketAddress.sin_family = AF_INET;
  socketAddress.sin_port = htons(port);
  socketAddress.sin_addr.s_addr = address;
  return socketAddress;
}

// Winsock must be started before a socket is made or a name resolved, but
// much of the system (the server, the tool, the socket layer's own
// functions) makes sockets without asking for the service first, as it
// may elsewhere. So the first socket or look-up of the process starts it,
// once, and that start is never given back: the system cleans up at exit,
// and a StopSocketService that balances an explicit start can then never
// take the service away from sockets still in use.
bool EnsureStarted() {
  static const bool started = [] {
    WSADATA data;
    return ::WSAStartup(MAKEWORD(2, 2), &data) == 0;
  }();
  return started;
}

// Restores the error of a failed call after clean-up calls that may have
// changed it.
class KeepError {
 public:
  KeepError() : error_(::WSAGetLastError()) {}
  ~KeepError() { ::WSASetLastError(error_); }
  KeepError(const KeepError&) = delete;
  KeepError& operator=(const KeepError&) = delete;

 private:
  int error_;
};

// Handles are inherited only when made inheritable; a socket that was not
// made here (an accepted one) is made so explicitly.
void DoNotInherit(SOCKET socket) {
  ::SetHandleInformation(reinterpret_cast<HANDLE>(socket), HANDLE_FLAG_INHERIT, 0);
}

}  // namespace

// Winsock's error numbers are the ones the system knows: nothing to map.
uint32_t LastSocketError() { return static_cast<uint32_t>(::WSAGetLastError()); }

uint16_t StartSocketService(uint16_t version) {
  WSADATA data;
  if (::WSAStartup(version, &data) != 0) return 0;
  return data.wVersion;
}

void StopSocketService() { ::WSACleanup(); }

SocketHandle CreateIpv4Socket(int32_t type) {
  int hostType = -1;
  if (type == kStreamSocket) hostType = SOCK_STREAM;
  if (type == kDatagramSocket) hostType = SOCK_DGRAM;
  if (!EnsureStarted()) return kInvalidSocket;  // WSAStartup's error stays
  if (hostType < 0) {
    ::WSASetLastError(WSAESOCKTNOSUPPORT);
    return kInvalidSocket;
  }
  SOCKET socket = ::WSASocketW(AF_INET, hostType, 0, nullptr, 0,
                               WSA_FLAG_OVERLAPPED | WSA_FLAG_NO_HANDLE_INHERIT);
  if (socket == INVALID_SOCKET && ::WSAGetLastError() == WSAEINVAL) {
    // Systems from before the flag refuse it: the handle is made
    // non-inheritable afterwards instead.
    socket = ::WSASocketW(AF_INET, hostType, 0, nullptr, 0, WSA_FLAG_OVERLAPPED);
    if (socket != INVALID_SOCKET) DoNotInherit(socket);
  }
  return Handle(socket);
}

bool CloseSocket(SocketHandle socket) { return ::closesocket(Native(socket)) == 0; }

bool ReceiveBufferSize(SocketHandle socket, int32_t& size) {
  int value = 0;
  int length = sizeof value;
  if (::getsockopt(Native(socket), SOL_SOCKET, SO_RCVBUF, reinterpret_cast<char*>(&value),
                   &length) != 0)
    return false;
  size = value;
  return true;
}

bool SetReceiveBufferSize(SocketHandle socket, int32_t size) {
  const int value = size;
  return ::setsockopt(Native(socket), SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&value),
                      sizeof value) == 0;
}

bool ConnectIpv4(SocketHandle socket, uint32_t address, uint16_t port) {
  const sockaddr_in socketAddress = Ipv4(address, port);
  return ::connect(Native(socket), reinterpret_cast<const sockaddr*>(&socketAddress),
                   sizeof socketAddress) == 0;
}

bool ConnectIpv4Within(SocketHandle socket, uint32_t address, uint16_t port, uint32_t milliseconds,
                       KeepGoing keepGoing, const void* context) {
  // Long enough not to spin, short enough that a stop is seen at once.
  constexpr int64_t kSliceMs = 10;
  // Winsock cannot tell a socket's blocking mode: the socket goes back to
  // blocking afterwards, which is the mode of the fresh sockets connected
  // here.
  if (!SetBlocking(socket, false)) return false;
  const sockaddr_in socketAddress = Ipv4(address, port);
  int error = 0;
  if (::connect(Native(socket), reinterpret_cast<const sockaddr*>(&socketAddress),
                sizeof socketAddress) != 0)
    error = ::WSAGetLastError();
  if (error == WSAEWOULDBLOCK) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    error = WSAETIMEDOUT;
    for (;;) {
      if (keepGoing != nullptr && !keepGoing(context)) {
        error = WSAEINTR;
        break;
      }
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                            end - std::chrono::steady_clock::now())
                            .count();
      if (left <= 0) break;
      // A connect that fails shows in the exception set, not the write set.
      fd_set writable;
      fd_set failed;
      FD_ZERO(&writable);
      FD_ZERO(&failed);
      FD_SET(Native(socket), &writable);
      FD_SET(Native(socket), &failed);
      const int64_t slice = std::min(left, kSliceMs);
      timeval timeout{0, static_cast<long>(slice * 1000)};
      const int ready = ::select(0, nullptr, &writable, &failed, &timeout);
      if (ready == SOCKET_ERROR) {
        error = ::WSAGetLastError();
        break;
      }
      if (ready > 0) {
        error = 0;
        if (FD_ISSET(Native(socket), &failed)) {
          int length = sizeof error;
          if (::getsockopt(Native(socket), SOL_SOCKET, SO_ERROR, reinterpret_cast<char*>(&error),
                           &length) != 0)
            error = ::WSAGetLastError();
          if (error == 0) error = WSAECONNREFUSED;  // failed, but no reason kept
        }
        break;
      }
    }
  }
  SetBlocking(socket, true);
  ::WSASetLastError(error);
  return error == 0;
}

bool SetNonBlocking(SocketHandle socket) { return SetBlocking(socket, false); }

bool EndConnectionWhenPeerDead(SocketHandle socket, uint32_t seconds) {
  // The system sends ten probes after the idle time before it gives up:
  // the idle time is half the allowance, the probes share the rest. Sends
  // left unanswered give up after the whole allowance (TCP_MAXRT, which the
  // headers do not name).
  constexpr int kMaxRetransmitTime = 5;
  constexpr ULONG kProbes = 10;
  const ULONG allowanceMs = std::clamp<uint32_t>(seconds, 1, 2000000) * 1000u;
  tcp_keepalive values{};
  values.onoff = 1;
  values.keepalivetime = allowanceMs / 2;
  values.keepaliveinterval = std::max<ULONG>(1, (allowanceMs - values.keepalivetime) / kProbes);
  DWORD returned = 0;
  if (::WSAIoctl(Native(socket), SIO_KEEPALIVE_VALS, &values, sizeof values, nullptr, 0, &returned,
                 nullptr, nullptr) != 0) {
    return false;
  }
  const DWORD maxRetransmitSeconds = allowanceMs / 1000u;
  return ::setsockopt(Native(socket), IPPROTO_TCP, kMaxRetransmitTime,
                      reinterpret_cast<const char*>(&maxRetransmitSeconds),
                      sizeof maxRetransmitSeconds) == 0;
}

int32_t SendToSocket(SocketHandle socket, const void* data, int32_t length) {
  if (length < 0) {
    ::WSASetLastError(WSAEINVAL);
    return -1;
  }
  return ::send(Native(socket), static_cast<const char*>(data), length, 0);
}

bool WaitUntilReadable(SocketHandle socket, uint32_t milliseconds) {
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(Native(socket), &readable);
  timeval timeout{static_cast<long>(milliseconds / 1000),
                  static_cast<long>(milliseconds % 1000 * 1000)};
  return ::select(0, &readable, nullptr, nullptr, &timeout) == 1;
}

int32_t ReceiveSome(SocketHandle socket, void* into, int32_t length) {
  if (length < 0) {
    ::WSASetLastError(WSAEINVAL);
    return -1;
  }
  return ::recv(Native(socket), static_cast<char*>(into), length, 0);
}

bool ShutdownSocket(SocketHandle socket) { return ::shutdown(Native(socket), SD_BOTH) == 0; }

bool ShutdownSending(SocketHandle socket) { return ::shutdown(Native(socket), SD_SEND) == 0; }

bool AbortConnection(SocketHandle socket) {
  const linger immediately{1, 0};
  ::setsockopt(Native(socket), SOL_SOCKET, SO_LINGER, reinterpret_cast<const char*>(&immediately),
               sizeof immediately);
  return CloseSocket(socket);
}

bool ResolveHost(const std::string& host, HostAddresses& found, std::string& error) {
  found = {};
  error.clear();
  if (!EnsureStarted()) {
    error = "the socket service did not start";
    return false;
  }
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int failed = ::getaddrinfo(host.c_str(), nullptr, &hints, &list);
  if (failed != 0) {
    error = ::gai_strerrorA(failed);
    return false;
  }
  const bool any =
      CollectHostAddresses<sockaddr_in, sockaddr_in6>(list, AF_INET, AF_INET6, found, error);
  ::freeaddrinfo(list);
  return any;
}

std::array<uint8_t, 4> LocalHostAddress() {
  std::array<uint8_t, 4> octets{};
  if (!EnsureStarted()) return octets;
  char name[256] = {};
  if (::gethostname(name, sizeof name - 1) != 0) return octets;
  addrinfo hints{};
  hints.ai_family = AF_INET;
  addrinfo* found = nullptr;
  if (::getaddrinfo(name, nullptr, &hints, &found) != 0 || found == nullptr) return octets;
  const auto* address = reinterpret_cast<const sockaddr_in*>(found->ai_addr);
  std::memcpy(octets.data(), &address->sin_addr.s_addr, octets.size());
  ::freeaddrinfo(found);
  return octets;
}

SocketHandle ListenOnLoopback(uint16_t& port, int32_t backlog) {
  const SocketHandle listener = CreateIpv4Socket(kStreamSocket);
  if (listener == kInvalidSocket) return kInvalidSocket;
  // No SO_REUSEADDR: here it would let another socket take over a port in
  // use, and a port whose old connections wait out their time may be bound
  // again without it.
  sockaddr_in socketAddress = Ipv4(htonl(INADDR_LOOPBACK), port);
  int length = sizeof socketAddress;
  if (::bind(Native(listener), reinterpret_cast<const sockaddr*>(&socketAddress), length) != 0 ||
      ::listen(Native(listener), backlog) != 0 ||
      ::getsockname(Native(listener), reinterpret_cast<sockaddr*>(&socketAddress), &length) != 0) {
    const KeepError keep;
    CloseSocket(listener);
    return kInvalidSocket;
  }
  port = ntohs(socketAddress.sin_port);
  return listener;
}

SocketHandle AcceptConnection(SocketHandle listener) {
  const SOCKET accepted = ::accept(Native(listener), nullptr, nullptr);
  if (accepted != INVALID_SOCKET) DoNotInherit(accepted);
  return Handle(accepted);
}

}  // namespace platform
