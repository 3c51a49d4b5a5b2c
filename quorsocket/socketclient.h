// A TCP client endpoint that lives in a window. Its socket's data-ready and
// closed events arrive as WM_SOCKET_EVENT messages on the thread that made
// the window and reach OnReceive through its dispatch (its own loop or
// PumpMessages). Reads ask for `packetLength` bytes; with packet assembly
// on, a packet that arrives in pieces is put together before delivery.
// Every socket failure is traced with a readable text. Used on the window's
// thread only; nothing is locked, and nothing is allocated per read.
#pragma once

#include <array>
#include <cstdint>

#include "platform/framework/wnd.h"
#include "platform/tcpsocket.h"
#include "quorsocket/quorsocket.h"

inline constexpr int32_t MAX_BUFFER_SIZE = 32768;
inline constexpr uint32_t WM_SOCKET_EVENT = 4747;
inline constexpr uint32_t kSocketEventMask = 33;  // read (1) and close (32)

// Receives a delivered read or packet; length 0 with no data means the
// connection has ended. The result is not used.
using ReceiveCallback = int32_t (*)(uint16_t port, int32_t length, const uint8_t* data,
                                    uint32_t user);

class CSocketClient : public platform::CWnd {
 public:
  explicit CSocketClient(bool bufferPackets = false);
  ~CSocketClient() override;

  // Ends any connection, then connects to `address` (four bytes, first octet
  // first):`port` in up to `attempts` attempts and selects its events for
  // this window, which must exist. 1 when connected, else 0.
  int EstablishConnection(const uint8_t* address, int16_t port, uint32_t receiveBufferSize,
                          int32_t attempts);
  // Shuts the connection down, reads what is left and closes it; nothing
  // when there is none.
  void CloseConnection();
  // Sends `length` bytes in one call: 1 when sent or when not connected
  // (nothing is sent then), 0 when the send failed.
  virtual int Send(const uint8_t* data, int32_t length);
  // The WM_SOCKET_EVENT handler: wParam is the socket, lParam the event (low
  // 16 bits) and a socket error number (high 16 bits). 1 when handled; the
  // error number when a read or the connection failed.
  virtual int32_t OnReceive(uintptr_t wParam, intptr_t lParam);

  // Connects from now on with these limits: each attempt bounded in time,
  // the attempts and the pauses of `pauseMs` between them ended by the
  // running flag.
  void SetConnectControl(const ConnectControl& control, uint32_t pauseMs);
  // The socket error of the last failed connect or send, taken right after
  // the failing call; 0 when none failed yet.
  uint32_t lastError() const { return lastError_; }

  // Above MAX_BUFFER_SIZE: an error-log entry and MAX_BUFFER_SIZE.
  void SetPacketLength(int32_t length);
  bool IsConnected() const;
  void SetReceiveCallback(ReceiveCallback callback, uint32_t user);
  // Dispatches every message waiting for the calling thread; never waits.
  void PumpMessages();
  // Traces the text of the calling thread's last socket error and the time
  // of day; returns the error number.
  int ReportSocketError();

  bool DestroyWindow() override;
  intptr_t WindowProc(uint32_t message, uintptr_t wParam, intptr_t lParam) override;

 protected:
  int32_t OnCreate() override;
  void OnDestroy() override;

  int32_t port_ = 0;
  platform::SocketHandle socket_ = 0;  // 0: no connection
  std::array<uint8_t, 4> serverAddress_{127, 0, 0, 1};
  int32_t packetLength_ = 0;
  std::array<uint8_t, 2 * MAX_BUFFER_SIZE> receiveBuffer_{};
  std::array<uint8_t, 2 * MAX_BUFFER_SIZE> packetBuffer_{};
  bool bufferPackets_;
  int32_t bufferedBytes_ = 0;
  ReceiveCallback callback_ = nullptr;
  uint32_t callbackUser_ = 0;
  uint32_t lastError_ = 0;
  bool hasConnectControl_ = false;
  ConnectControl connectControl_;
  uint32_t connectPauseMs_ = kConnectRetryPauseMs;

 private:
  int ReportSocketError(uint32_t code);
  void Deliver(int32_t length, const uint8_t* data);
  void AssemblePacket(int32_t received);
  // Stops the events and closes the handle of a connection given up.
  void DropSocket();
};
