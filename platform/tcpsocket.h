// IPv4 TCP sockets: the calls the socket layer makes, with failures reported
// as the socket error numbers the rest of the system knows (10061 for a
// refused connection, and so on) rather than as the host's errno values.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace platform {

using SocketHandle = uintptr_t;
inline constexpr SocketHandle kInvalidSocket = ~SocketHandle{0};

inline constexpr int32_t kStreamSocket = 1;
inline constexpr int32_t kDatagramSocket = 2;

// Socket error numbers. Where the system's own socket errors are numbered
// otherwise, one without a name here is reported as kUnnamedSocketErrorBase
// plus the system's number; where they are these numbers (Winsock), every
// error is reported as it is.
enum SocketError : uint32_t {
  kSocketInterrupted = 10004,
  kSocketBadHandle = 10009,
  kSocketAccessDenied = 10013,
  kSocketBadAddress = 10014,
  kSocketInvalidArgument = 10022,
  kSocketTooManyOpen = 10024,
  kSocketWouldBlock = 10035,
  kSocketInProgress = 10036,
  kSocketAlreadyInProgress = 10037,
  kSocketNotASocket = 10038,
  kSocketWrongProtocolType = 10041,
  kSocketProtocolNotSupported = 10043,
  kSocketTypeNotSupported = 10044,
  kSocketFamilyNotSupported = 10047,
  kSocketAddressInUse = 10048,
  kSocketAddressNotAvailable = 10049,
  kSocketNetworkDown = 10050,
  kSocketNetworkUnreachable = 10051,
  kSocketConnectionReset = 10054,
  kSocketNoBufferSpace = 10055,
  kSocketAlreadyConnected = 10056,
  kSocketTimedOut = 10060,
  kSocketConnectionRefused = 10061,
  kSocketHostUnreachable = 10065,
  kSocketNotStarted = 10093,
  kUnnamedSocketErrorBase = 20000,
};

// The error of the calling thread's last failed socket call.
uint32_t LastSocketError();

// Starts the socket service, asking for `version` (major in the low byte,
// minor in the high byte). Returns the version granted (what is asked, up
// to 2.2); 0 when it cannot start. Each start that granted a version is
// given back by one StopSocketService. Callers need not start it before
// using sockets: where the system needs a start-up at all, the first socket
// or name look-up of the process starts it for good, so an unbalanced stop
// never takes it away from sockets in use.
uint16_t StartSocketService(uint16_t version);
void StopSocketService();

// An IPv4 socket of `type` (kStreamSocket, kDatagramSocket); kInvalidSocket
// on failure. Not inherited by child processes.
SocketHandle CreateIpv4Socket(int32_t type);
// False when the handle was no open socket.
bool CloseSocket(SocketHandle socket);

bool ReceiveBufferSize(SocketHandle socket, int32_t& size);
bool SetReceiveBufferSize(SocketHandle socket, int32_t size);

// `address` holds the four octets first to last in memory order (network
// order); `port` is in host order.
bool ConnectIpv4(SocketHandle socket, uint32_t address, uint16_t port);
// Connects without waiting longer than `milliseconds`, asking `keepGoing`
// (when given) every few milliseconds whether to go on. Meant for a fresh
// socket: it blocks again afterwards. False on failure: LastSocketError
// gives kSocketTimedOut when the time ran out, kSocketInterrupted when
// `keepGoing` said stop, else the connect's own error.
using KeepGoing = bool (*)(const void* context);
bool ConnectIpv4Within(SocketHandle socket, uint32_t address, uint16_t port, uint32_t milliseconds,
                       KeepGoing keepGoing = nullptr, const void* context = nullptr);
bool SetNonBlocking(SocketHandle socket);
// Ends a connection whose peer has answered nothing for `seconds` (at
// least 1), not even the system's probes of an idle connection, so that a
// vanished host (no end, no reset) cannot hold a reader for ever: the next
// read or send fails with kSocketTimedOut. A peer that is silent but alive
// answers the probes and is left alone. False when the system refuses.
bool EndConnectionWhenPeerDead(SocketHandle socket, uint32_t seconds);

// Sends `length` bytes in one call: the count sent, or -1 on failure. A
// closed peer gives a failure, never a signal.
int32_t SendToSocket(SocketHandle socket, const void* data, int32_t length);
// Waits up to `milliseconds` for the socket to have data, a connection to
// accept, or an end; false on time-out or failure.
bool WaitUntilReadable(SocketHandle socket, uint32_t milliseconds);
// Reads up to `length` bytes, waiting while a blocking socket has none: the
// count read, 0 at the peer's close, -1 on failure.
int32_t ReceiveSome(SocketHandle socket, void* into, int32_t length);
// Shuts both directions of a connection; false on failure.
bool ShutdownSocket(SocketHandle socket);
// Ends the sending direction only: the peer reads the end of the data and
// can still send. False on failure.
bool ShutdownSending(SocketHandle socket);
// Closes the socket with a reset instead of an orderly end; false when it
// was no open socket.
bool AbortConnection(SocketHandle socket);

// The addresses a host name or address literal stands for, in the order
// the system gives them, each family apart.
struct HostAddresses {
  std::vector<std::array<uint8_t, 4>> ipv4;   // first octet first
  std::vector<std::array<uint8_t, 16>> ipv6;  // first byte first
};
// Looks `host` up once: a name, an IPv4 literal or an IPv6 literal (without
// brackets). False, with the system's text for the failure in `error`, when
// it stands for no address.
bool ResolveHost(const std::string& host, HostAddresses& found, std::string& error);

// The first IPv4 address of the local host's name, first octet first;
// 0.0.0.0 when the name does not resolve.
std::array<uint8_t, 4> LocalHostAddress();

// A stream socket listening on 127.0.0.1:`port` (0: any free port, which is
// then written back to `port`); kInvalidSocket on failure.
SocketHandle ListenOnLoopback(uint16_t& port, int32_t backlog = 4);
// Waits for the next connection on a listening socket.
SocketHandle AcceptConnection(SocketHandle listener);

}  // namespace platform
