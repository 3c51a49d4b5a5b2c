#include "quorsocket/socketclient.h"

#include <chrono>
#include <cstdio>
#include <cstring>

#include "libsys/errorlog.h"
#include "libsys/ztracelogfile.h"
#include "platform/framework/asyncselect.h"
#include "platform/messagebox.h"
#include "quorsocket/quorsocket.h"
#include "quorsocket/socketerrortext.h"

namespace {

constexpr uint32_t kConnectionAborted = 10053;
constexpr uint32_t kConnectionReset = 10054;

// Texts as they stand, most with a leading blank.
constexpr SocketErrorText kErrorTexts[] = {
    {183, "Socket failure: cannot create a file when that file already exists!?"},
    {10004, " The (blocking) call was canceled using WSACancelBlockingCall."},
    {10014, " The namelen argument is incorrect."},
    {10022, " The socket is not already bound to an address."},
    {10024, " No more file descriptors are available."},
    {10035,
     " The socket is marked as nonblocking and the connection cannot be completed immediately. "
     "It is possible to select the socket while it is connecting by selecting it for writing."},
    {10036, " A blocking Windows Sockets call is in progress."},
    {10038, " The descriptor is not a socket."},
    {10047, " Addresses in the specified family cannot be used with this socket."},
    {10048, " The specified address is already in use."},
    {10049, " The specified address is not available from the local computer."},
    {10050,
     " The Windows Sockets implementation has detected that the network subsystem has failed."},
    {10051, " The network can't be reached from this host at this time."},
    {10053, " The connection was aborted."},
    {10054, " Connection reset by peer."},
    {10055, " No buffer space is available. The socket cannot be connected."},
    {10056, " The socket is already connected."},
    {10060, " Attempt to connect timed out without establishing a connection."},
    {10061, " The attempt to connect was forcefully rejected."},
    {10093, " A successful WSAStartup must occur before using this function."},
};

std::string Format(const char* format, int32_t first, int32_t second = 0) {
  char text[128];
  std::snprintf(text, sizeof text, format, first, second);
  return text;
}

}  // namespace

CSocketClient::CSocketClient(bool bufferPackets) : bufferPackets_(bufferPackets) {}

CSocketClient::~CSocketClient() { CSocketClient::DestroyWindow(); }

bool CSocketClient::DestroyWindow() { return CWnd::DestroyWindow(); }

int32_t CSocketClient::OnCreate() {
  // Each window holds one start of the socket service, given back when it
  // is destroyed.
  StartSocketLibrary();
  return 0;
}

void CSocketClient::OnDestroy() {
  CloseConnection();
  platform::StopSocketService();
}

intptr_t CSocketClient::WindowProc(uint32_t message, uintptr_t wParam, intptr_t lParam) {
  if (message == WM_SOCKET_EVENT) return OnReceive(wParam, lParam);
  return CWnd::WindowProc(message, wParam, lParam);
}

int CSocketClient::EstablishConnection(const uint8_t* address, int16_t port,
                                       uint32_t receiveBufferSize, int32_t attempts) {
  CloseConnection();
  std::memcpy(serverAddress_.data(), address, serverAddress_.size());
  port_ = port;
  uint32_t networkAddress = 0;
  std::memcpy(&networkAddress, serverAddress_.data(), sizeof networkAddress);
  platform::SocketHandle socket = platform::kInvalidSocket;
  lastError_ = 0;
  const int32_t connected = CreateSocketAndConnectToServer(
      platform::kStreamSocket, static_cast<uint16_t>(port), networkAddress, &socket, 0, attempts,
      static_cast<int32_t>(receiveBufferSize), connectPauseMs_,
      hasConnectControl_ ? &connectControl_ : nullptr, &lastError_);
  if (connected == 0) {
    QUORLOG(1, "CSocketClient::EstablishConnection() failed!? socket:%d",
            static_cast<int32_t>(socket));
    // A socket that did not connect is of no further use: closed here
    // rather than left open.
    if (socket != platform::kInvalidSocket) platform::CloseSocket(socket);
    socket_ = 0;
    return 0;
  }
  socket_ = socket;
  if (!platform::SelectSocketEvents(socket_, GetSafeHwnd(), WM_SOCKET_EVENT, kSocketEventMask)) {
    QUORLOG(1, "CSocketClient::EstablishConnection() failed!? socket:%d",
            static_cast<int32_t>(socket_));
    DropSocket();
    lastError_ = platform::kSocketInvalidArgument;
    ReportSocketError(lastError_);
    return 0;
  }
  return 1;
}

void CSocketClient::CloseConnection() {
  if (socket_ == 0) return;
  const auto number = static_cast<int32_t>(socket_);
  QUORLOG(1, "CloseConnection(): closing socket %d", number);
  platform::SelectSocketEvents(socket_, GetSafeHwnd(), 0, 0);
  platform::ShutdownSocket(socket_);
  // After the shutdown the reads end at the end of what was in flight; they
  // never wait. A server that keeps sending cannot hold the close: the
  // drain stops after a bounded number of reads.
  constexpr int kMostDrainReads = 64;
  for (int read = 0; read < kMostDrainReads &&
                     platform::ReceiveFromSocket(socket_, receiveBuffer_.data(),
                                                 static_cast<int32_t>(receiveBuffer_.size())) > 0;
       ++read) {
  }
  if (!platform::CloseSocket(socket_)) ReportSocketError();
  QUORLOG(1, "CloseConnection(): closed %d", number);
  socket_ = 0;
}

void CSocketClient::DropSocket() {
  platform::SelectSocketEvents(socket_, GetSafeHwnd(), 0, 0);
  platform::CloseSocket(socket_);
  socket_ = 0;
}

int CSocketClient::Send(const uint8_t* data, int32_t length) {
  if (!IsConnected()) return 1;
  if (platform::SendToSocket(socket_, data, length) == -1) {
    lastError_ = platform::LastSocketError();
    QUORLOG(1, "SEND FAIL on socket:%d bytes:%d", static_cast<int32_t>(socket_), length);
    ReportSocketError(lastError_);
    return 0;
  }
  return 1;
}

int32_t CSocketClient::OnReceive(uintptr_t wParam, intptr_t lParam) {
  const auto parameter = static_cast<uint32_t>(lParam);
  const uint32_t error = parameter >> 16;
  const uint32_t event = parameter & 0xFFFFu;
  const auto notified = static_cast<platform::SocketHandle>(wParam);
  if (error != 0) {
    bufferedBytes_ = 0;
    if (error == kConnectionAborted || error == kConnectionReset) {
      Deliver(0, nullptr);
      CloseConnection();
      return 1;
    }
    // The connection is given up; its handle is closed rather than leaked.
    DropSocket();
    platform::ShowMessageBox(
        Format("Socket error: %d", static_cast<int32_t>(error)),
        Format("Server/connected-socket: %d/%d", port_, static_cast<int32_t>(notified)));
    // The notified error, not whatever this thread's last call left.
    return ReportSocketError(error);
  }
  if (event == platform::kSocketReadEvent) {
    const int32_t received =
        platform::ReceiveFromSocket(notified, receiveBuffer_.data(), packetLength_);
    if (received == -1) {
      const uint32_t readError = platform::LastSocketError();
      QUORLOG(1, "READ FAIL");
      return ReportSocketError(readError);
    }
    if (bufferPackets_ && received < packetLength_) {
      AssemblePacket(received);
      return 1;
    }
    Deliver(received, receiveBuffer_.data());
    bufferedBytes_ = 0;
    return 1;
  }
  if (event == platform::kSocketCloseEvent) {
    Deliver(0, nullptr);
    CloseConnection();
    return 1;
  }
  platform::ShowMessageBox(Format("Socket event error: %d", static_cast<int32_t>(event)),
                           Format("Unknown socket event???   Server/connected-socket: %d/%d", port_,
                                  static_cast<int32_t>(notified)));
  return 1;
}

void CSocketClient::AssemblePacket(int32_t received) {
  const int32_t buffered = bufferedBytes_;
  const auto count = static_cast<size_t>(received);
  if (buffered + received > packetLength_) {
    QUORLOG(1, "Packet skipped (%d bytes), but new packet is buffered up (%d bytes)!", buffered,
            received);
    std::memcpy(packetBuffer_.data(), receiveBuffer_.data(), count);
    bufferedBytes_ = received;
    return;
  }
  std::memcpy(packetBuffer_.data() + buffered, receiveBuffer_.data(), count);
  if (buffered + received == packetLength_) {
    QUORLOG(1, "Buffered message packet generated! - size: %d+%d=%d bytes", buffered, received,
            buffered + received);
    Deliver(buffered + received, packetBuffer_.data());
    bufferedBytes_ = 0;
    return;
  }
  QUORLOG(1, "Packet buffered up (%d bytes)! Total was %d", received, buffered);
  bufferedBytes_ = buffered + received;
}

void CSocketClient::Deliver(int32_t length, const uint8_t* data) {
  if (callback_ != nullptr) {
    callback_(static_cast<uint16_t>(port_), length, data, callbackUser_);
  }
}

void CSocketClient::SetConnectControl(const ConnectControl& control, uint32_t pauseMs) {
  hasConnectControl_ = true;
  connectControl_ = control;
  connectPauseMs_ = pauseMs;
}

void CSocketClient::SetPacketLength(int32_t length) {
  if (length > MAX_BUFFER_SIZE) {
    ERRORLOG(kErrorLogError, "SetPacketLength %d bigger than MAX_BUFFER_SIZE %d", length,
             MAX_BUFFER_SIZE);
    length = MAX_BUFFER_SIZE;
  }
  packetLength_ = length;
}

bool CSocketClient::IsConnected() const {
  return socket_ != 0 && socket_ != platform::kInvalidSocket;
}

void CSocketClient::SetReceiveCallback(ReceiveCallback callback, uint32_t user) {
  callback_ = callback;
  callbackUser_ = user;
}

void CSocketClient::PumpMessages() { platform::DispatchThreadMessages(); }

int CSocketClient::ReportSocketError() { return ReportSocketError(platform::LastSocketError()); }

int CSocketClient::ReportSocketError(uint32_t code) {
  if (const char* text = FindSocketErrorText(kErrorTexts, code)) {
    QUORLOG(1, "%s", text);
  } else {
    QUORLOG(1, " The socket connection has failed due to a not known error - %d.",
            static_cast<int32_t>(code));
  }
  const auto secondsToday = std::chrono::duration_cast<std::chrono::seconds>(
                                std::chrono::system_clock::now().time_since_epoch())
                                .count() %
                            86400;
  QUORLOG(1, "ERR %d %02d:%02d:%02d", static_cast<int32_t>(code),
          static_cast<int32_t>(secondsToday / 3600), static_cast<int32_t>(secondsToday / 60 % 60),
          static_cast<int32_t>(secondsToday % 60));
  return static_cast<int>(code);
}
