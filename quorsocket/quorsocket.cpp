#include "quorsocket/quorsocket.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "libsys/errorlog.h"
#include "libsys/ztracelogfile.h"
#include "platform/processinfo.h"
#include "platform/sleep.h"
#include "quorsocket/socketerrortext.h"

namespace {

constexpr uint16_t kSocketVersion2 = 0x0002;  // major 2 in the low byte, minor 0
constexpr int32_t kDefaultAttempts = 10;

// Several texts end in a blank; they are written as they stand.
constexpr SocketErrorText kErrorTexts[] = {
    {10004, "The (blocking) call was canceled using WSACancelBlockingCall."},
    {10013,
     "Attempt to connect datagram socket to broadcast address failed because setsockopt option "
     "SO_BROADCAST is not enabled. "},
    {10014,
     "The name or the namelen parameter is not a valid part of the user address space, the "
     "namelen parameter is too small, or the name parameter contains incorrect address format "
     "for the associated address family. "},
    {10022,
     "The parameter s is a listening socket, or the destination address specified is not "
     "consistent with that of the constrained group the socket belongs to. "},
    {10024, "No more file descriptors are available."},
    {10035,
     "The socket is marked as nonblocking and the connection cannot be completed immediately. "
     "Use select to determine the completion of the connection request by checking to see if "
     "the socket is writable. "},
    {10036, "A blocking Windows Sockets call is in progress."},
    {10037, "A nonblocking connect call is in progress on the specified socket. "},
    {10038, "The descriptor is not a socket. "},
    {10041, "The specified protocol is the wrong type for this socket."},
    {10043, "The specified protocol is not supported."},
    {10044, "The specified socket type is not supported in this address family."},
    {10047, "Addresses in the specified family cannot be used with this socket. "},
    {10048, "The specified address is already in use."},
    {10049, "The specified address is not available from the local machine. "},
    {10050,
     "The Windows Sockets implementation has detected that the network subsystem has failed."},
    {10051, "The network cannot be reached from this host at this time. "},
    {10055, "No buffer space is available. The socket cannot be connected. "},
    {10056, "The socket is already connected (connection-oriented sockets only). "},
    {10060, "Attempt to connect timed out without establishing a connection. "},
    {10061, "The attempt to connect was forcefully rejected. "},
    {10065, "A socket operation was attempted to an unreachable host."},
    {10093, "A successful WSAStartup must occur before using this function."},
};

uint32_t TraceLastSocketError() {
  // Taken before the trace line, whose file calls may change it.
  const uint32_t code = platform::LastSocketError();
  QUORLOG(1, "NTCreateSocketAndConnectToServer(): socket error %d", static_cast<int32_t>(code));
  TraceSocketError(code);
  return code;
}

void EndWhenPeerDead(platform::SocketHandle socket, uint32_t deadAfterS) {
  // Without it the connection still works; only a vanished server is
  // noticed late.
  if (deadAfterS > 0 && !platform::EndConnectionWhenPeerDead(socket, deadAfterS)) {
    TraceLastSocketError();
  }
}

bool StillRunning(const void* running) {
  return static_cast<const std::atomic<int32_t>*>(running)->load() != 0;
}

}  // namespace

void PauseWhileRunning(uint32_t milliseconds, const std::atomic<int32_t>* running) {
  constexpr uint32_t kSliceMs = 10;
  if (running == nullptr) {
    platform::SleepMilliseconds(milliseconds);
    return;
  }
  for (uint32_t slept = 0; slept < milliseconds && running->load() != 0; slept += kSliceMs) {
    platform::SleepMilliseconds(std::min(kSliceMs, milliseconds - slept));
  }
}

int32_t CreateSocketAndConnectToServer(int32_t socketType, uint16_t port, uint32_t address,
                                       platform::SocketHandle* socketOut, int32_t keepBlocking,
                                       int32_t attempts, int32_t receiveBuffer, uint32_t pauseMs,
                                       const ConnectControl* control, uint32_t* lastError) {
  QUORLOG(3, "CreateSocketAndConnectToServer client id=%d",
          static_cast<int32_t>(platform::CurrentProcessId()));
  const platform::SocketHandle socket = platform::CreateIpv4Socket(socketType);
  *socketOut = socket;
  if (socket == platform::kInvalidSocket) {
    const uint32_t error = TraceLastSocketError();
    if (lastError != nullptr) *lastError = error;
    ERRORLOG(kErrorLogError, kErrorLogMessages[kErrUnixSocketFunction], "socket");
    return 0;
  }
  const auto socketNumber = static_cast<int32_t>(socket);
  QUORLOG(3, "socket= %d", socketNumber);

  std::array<uint8_t, 4> octets{};
  std::memcpy(octets.data(), &address, octets.size());
  if (octets[3] == 0) {
    octets = {127, 0, 0, 1};
    std::memcpy(&address, octets.data(), octets.size());
    QUORLOG(1, "Using local addr INADDR_LOOPBACK 127.0.0.1");
  } else {
    QUORLOG(1, "Using remote addr %d.%d.%d.%d", octets[0], octets[1], octets[2], octets[3]);
  }

  int32_t bufferSize = 0;
  if (!platform::ReceiveBufferSize(socket, bufferSize)) bufferSize = 0;
  QUORLOG(1, "socket= %d Receive Buffer %d", socketNumber, bufferSize);
  if (bufferSize < receiveBuffer) {
    // Whatever the system grants shows in the line; a refusal is not an error.
    platform::SetReceiveBufferSize(socket, receiveBuffer);
    if (!platform::ReceiveBufferSize(socket, bufferSize)) bufferSize = 0;
    QUORLOG(1, "socket= %d Receive Buffer Changed to %d", socketNumber, bufferSize);
  }

  // A negative count makes no attempt and counts as a failed connect.
  if (attempts == 0) attempts = kDefaultAttempts;
  bool connected = false;
  const std::atomic<int32_t>* running = control != nullptr ? control->running : nullptr;
  platform::SocketHandle current = socket;
  for (int32_t attempt = 0; attempt < attempts && !connected; ++attempt) {
    if (attempt > 0) {
      // A socket whose connect failed may not connect again: each further
      // attempt takes a fresh one, sized as the first.
      const platform::SocketHandle fresh = platform::CreateIpv4Socket(socketType);
      if (fresh == platform::kInvalidSocket) {
        const uint32_t error = TraceLastSocketError();
        if (lastError != nullptr) *lastError = error;
        break;
      }
      platform::CloseSocket(current);
      current = fresh;
      *socketOut = current;
      if (bufferSize < receiveBuffer) platform::SetReceiveBufferSize(current, receiveBuffer);
    }
    if (running != nullptr && running->load() == 0) {
      if (lastError != nullptr) *lastError = platform::kSocketInterrupted;
      break;
    }
    connected = control != nullptr ? platform::ConnectIpv4Within(
                                         current, address, port, control->attemptMs,
                                         running != nullptr ? StillRunning : nullptr, running)
                                   : platform::ConnectIpv4(current, address, port);
    if (!connected) {
      const uint32_t error = TraceLastSocketError();
      if (lastError != nullptr) *lastError = error;
      // Nothing follows the last attempt: no pause after it.
      if (attempt + 1 < attempts) PauseWhileRunning(pauseMs, running);
    }
  }
  if (!connected) return 0;  // the caller owns the socket and closes it
  if (control != nullptr) EndWhenPeerDead(current, control->deadAfterS);
  if (keepBlocking != 0) return 1;
  if (!platform::SetNonBlocking(current)) {
    ERRORLOG(kErrorLogError, kErrorLogMessages[kErrUnixSocketFunction], "fcntl - F_GETFL");
  }
  return 1;
}

void TraceSocketError(uint32_t code) {
  if (const char* text = FindSocketErrorText(kErrorTexts, code)) {
    QUORLOG(1, "%s", text);
  } else {
    QUORLOG(1, "An unknown socket error %d has been observed", static_cast<int32_t>(code));
  }
}

int32_t StartSocketLibrary() {
  const uint16_t granted = platform::StartSocketService(kSocketVersion2);
  if (granted == 0) return 0;
  if (granted == kSocketVersion2) return 1;
  platform::StopSocketService();
  return 0;
}
