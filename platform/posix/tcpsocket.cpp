#include "platform/tcpsocket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include "platform/hostaddresslist.h"

namespace platform {

namespace {

int Fd(SocketHandle socket) { return static_cast<int>(socket); }

SocketHandle Handle(int fd) { return fd < 0 ? kInvalidSocket : static_cast<SocketHandle>(fd); }

sockaddr_in Ipv4(uint32_t address, uint16_t port) {
  sockaddr_in socketAddress{};
  socketAddress.sin_family = AF_INET;
  socketAddress.sin_port = htons(port);
  socketAddress.sin_addr.s_addr = address;
  return socketAddress;
}

}  // namespace

uint32_t LastSocketError() {
  switch (errno) {
    case EINTR:
      return kSocketInterrupted;
    case EBADF:
      return kSocketBadHandle;
    case EACCES:
      return kSocketAccessDenied;
    case EFAULT:
      return kSocketBadAddress;
    case EINVAL:
      return kSocketInvalidArgument;
    case EMFILE:
    case ENFILE:
      return kSocketTooManyOpen;
    case EAGAIN:
      return kSocketWouldBlock;
    case EINPROGRESS:
      return kSocketInProgress;
    case EALREADY:
      return kSocketAlreadyInProgress;
    case ENOTSOCK:
      return kSocketNotASocket;
    case EPROTOTYPE:
      return kSocketWrongProtocolType;
    case EPROTONOSUPPORT:
      return kSocketProtocolNotSupported;
    case ESOCKTNOSUPPORT:
      return kSocketTypeNotSupported;
    case EAFNOSUPPORT:
      return kSocketFamilyNotSupported;
    case EADDRINUSE:
      return kSocketAddressInUse;
    case EADDRNOTAVAIL:
      return kSocketAddressNotAvailable;
    case ENETDOWN:
      return kSocketNetworkDown;
    case ENETUNREACH:
      return kSocketNetworkUnreachable;
    case ECONNRESET:
    case EPIPE:
      return kSocketConnectionReset;
    case ENOBUFS:
    case ENOMEM:
      return kSocketNoBufferSpace;
    case EISCONN:
      return kSocketAlreadyConnected;
    case ETIMEDOUT:
      return kSocketTimedOut;
    case ECONNREFUSED:
      return kSocketConnectionRefused;
    case EHOSTUNREACH:
      return kSocketHostUnreachable;
    default:
      return kUnnamedSocketErrorBase + static_cast<uint32_t>(errno);
  }
}

uint16_t StartSocketService(uint16_t version) {
  const uint32_t major = version & 0xFFu;
  const uint32_t minor = version >> 8;
  if (major == 0) return 0;
  if (major > 2 || (major == 2 && minor > 2)) return 0x0202;
  return version;
}

void StopSocketService() {}

SocketHandle CreateIpv4Socket(int32_t type) {
  int hostType = -1;
  if (type == kStreamSocket) hostType = SOCK_STREAM;
  if (type == kDatagramSocket) hostType = SOCK_DGRAM;
  if (hostType < 0) {
    errno = ESOCKTNOSUPPORT;
    return kInvalidSocket;
  }
  return Handle(::socket(AF_INET, hostType | SOCK_CLOEXEC, 0));
}

bool CloseSocket(SocketHandle socket) {
  if (socket == kInvalidSocket) {
    errno = EBADF;
    return false;
  }
  return ::close(Fd(socket)) == 0;
}

bool ReceiveBufferSize(SocketHandle socket, int32_t& size) {
  int value = 0;
  socklen_t length = sizeof value;
  if (::getsockopt(Fd(socket), SOL_SOCKET, SO_RCVBUF, &value, &length) != 0) return false;
  size = value;
  return true;
}

bool SetReceiveBufferSize(SocketHandle socket, int32_t size) {
  const int value = size;
  return ::setsockopt(Fd(socket), SOL_SOCKET, SO_RCVBUF, &value, sizeof value) == 0;
}

namespace {

// One connect call, started again when a signal interrupts it; 0 or -1
// with errno set.
int ConnectOnce(SocketHandle socket, uint32_t address, uint16_t port) {
  const sockaddr_in socketAddress = Ipv4(address, port);
  int result;
  do {
    result = ::connect(Fd(socket), reinterpret_cast<const sockaddr*>(&socketAddress),
                       sizeof socketAddress);
  } while (result != 0 && errno == EINTR);
  return result;
}

}  // namespace

bool ConnectIpv4(SocketHandle socket, uint32_t address, uint16_t port) {
  return ConnectOnce(socket, address, port) == 0;
}

bool ConnectIpv4Within(SocketHandle socket, uint32_t address, uint16_t port, uint32_t milliseconds,
                       KeepGoing keepGoing, const void* context) {
  // Long enough not to spin, short enough that a stop is seen at once.
  constexpr int kSliceMs = 10;
  const int flags = ::fcntl(Fd(socket), F_GETFL);
  if (flags < 0 || ::fcntl(Fd(socket), F_SETFL, flags | O_NONBLOCK) != 0) return false;
  const int result = ConnectOnce(socket, address, port);
  int error = result == 0 ? 0 : errno;
  if (error == EINPROGRESS) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
    error = ETIMEDOUT;
    for (;;) {
      if (keepGoing != nullptr && !keepGoing(context)) {
        error = EINTR;
        break;
      }
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
                            end - std::chrono::steady_clock::now())
                            .count();
      if (left <= 0) break;
      pollfd entry{Fd(socket), POLLOUT, 0};
      const int ready = ::poll(&entry, 1, static_cast<int>(std::min<int64_t>(left, kSliceMs)));
      if (ready < 0 && errno != EINTR) {
        error = errno;
        break;
      }
      if (ready == 1) {
        socklen_t length = sizeof error;
        if (::getsockopt(Fd(socket), SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
        break;
      }
    }
  }
  ::fcntl(Fd(socket), F_SETFL, flags);
  errno = error;
  return error == 0;
}

bool SetNonBlocking(SocketHandle socket) {
  const int flags = ::fcntl(Fd(socket), F_GETFL);
  return flags >= 0 && ::fcntl(Fd(socket), F_SETFL, flags | O_NONBLOCK) == 0;
}

bool EndConnectionWhenPeerDead(SocketHandle socket, uint32_t seconds) {
  // Probes start halfway through the allowance and go once a second; the
  // user timeout ends the connection once the allowance has passed without
  // an answer, whether probes or data were unanswered.
  const int on = 1;
  const int allowance = static_cast<int>(std::clamp<uint32_t>(seconds, 1, 2000000));
  const int idle = std::max(1, allowance / 2);
  const int interval = 1;
  const int probes = std::max(1, allowance - idle);
  const unsigned userTimeoutMs = static_cast<unsigned>(allowance) * 1000u;
  const int fd = Fd(socket);
  return ::setsockopt(fd, SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on) == 0 &&
         ::setsockopt(fd, IPPROTO_TCP, TCP_KEEPIDLE, &idle, sizeof idle) == 0 &&
         ::setsockopt(fd, IPPROTO_TCP, TCP_KEEPINTVL, &interval, sizeof interval) == 0 &&
         ::setsockopt(fd, IPPROTO_TCP, TCP_KEEPCNT, &probes, sizeof probes) == 0 &&
         ::setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &userTimeoutMs, sizeof userTimeoutMs) == 0;
}

int32_t SendToSocket(SocketHandle socket, const void* data, int32_t length) {
  if (length < 0) {
    errno = EINVAL;
    return -1;
  }
  ssize_t sent;
  do {
    sent = ::send(Fd(socket), data, static_cast<size_t>(length), MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return static_cast<int32_t>(sent);
}

bool WaitUntilReadable(SocketHandle socket, uint32_t milliseconds) {
  pollfd entry{Fd(socket), POLLIN, 0};
  return ::poll(&entry, 1, static_cast<int>(milliseconds)) == 1;
}

int32_t ReceiveSome(SocketHandle socket, void* into, int32_t length) {
  if (length < 0) {
    errno = EINVAL;
    return -1;
  }
  ssize_t received;
  do {
    received = ::recv(Fd(socket), into, static_cast<size_t>(length), 0);
  } while (received < 0 && errno == EINTR);
  return static_cast<int32_t>(received);
}

bool ShutdownSocket(SocketHandle socket) { return ::shutdown(Fd(socket), SHUT_RDWR) == 0; }

bool ShutdownSending(SocketHandle socket) { return ::shutdown(Fd(socket), SHUT_WR) == 0; }

bool AbortConnection(SocketHandle socket) {
  const linger immediately{1, 0};
  ::setsockopt(Fd(socket), SOL_SOCKET, SO_LINGER, &immediately, sizeof immediately);
  return CloseSocket(socket);
}

bool ResolveHost(const std::string& host, HostAddresses& found, std::string& error) {
  found = {};
  error.clear();
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* list = nullptr;
  const int failed = ::getaddrinfo(host.c_str(), nullptr, &hints, &list);
  if (failed != 0) {
    error = ::gai_strerror(failed);
    return false;
  }
  const bool any =
      CollectHostAddresses<sockaddr_in, sockaddr_in6>(list, AF_INET, AF_INET6, found, error);
  ::freeaddrinfo(list);
  return any;
}

std::array<uint8_t, 4> LocalHostAddress() {
  std::array<uint8_t, 4> octets{};
  char name[100] = {};
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
  const int reuse = 1;
  ::setsockopt(Fd(listener), SOL_SOCKET, SO_REUSEADDR, &reuse, sizeof reuse);
  sockaddr_in socketAddress = Ipv4(htonl(INADDR_LOOPBACK), port);
  socklen_t length = sizeof socketAddress;
  if (::bind(Fd(listener), reinterpret_cast<const sockaddr*>(&socketAddress), length) != 0 ||
      ::listen(Fd(listener), backlog) != 0 ||
      ::getsockname(Fd(listener), reinterpret_cast<sockaddr*>(&socketAddress), &length) != 0) {
    const int error = errno;
    CloseSocket(listener);
    errno = error;
    return kInvalidSocket;
  }
  port = ntohs(socketAddress.sin_port);
  return listener;
}

SocketHandle AcceptConnection(SocketHandle listener) {
  int fd;
  do {
    fd = ::accept4(Fd(listener), nullptr, nullptr, SOCK_CLOEXEC);
  } while (fd < 0 && errno == EINTR);
  return Handle(fd);
}

}  // namespace platform
