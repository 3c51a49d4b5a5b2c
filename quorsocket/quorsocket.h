// Socket service functions: start the socket service, make a TCP client
// socket, size its receive buffer, connect it with a bounded number of
// attempts and make it non-blocking. Every step is traced; a socket that
// cannot be made, or made non-blocking, also goes to the error log. No state
// of their own: any thread may call them.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/tcpsocket.h"

inline constexpr uint32_t kConnectRetryPauseMs = 1000;

// Makes a socket of `socketType` (1: stream) and stores it in `*socketOut`
// at once, kInvalidSocket when that fails. Then asks for a receive buffer of
// at least `receiveBuffer` bytes and connects to `address`:`port` (address
// in network order; one whose fourth octet is 0 means 127.0.0.1) in up to
// `attempts` attempts (0: ten; negative: none), pausing `pauseMs` after each
// failed one but the last. Unless `keepBlocking`, a connected socket is
// made non-blocking. Returns 1 when connected, else 0; a socket that failed
// to connect stays open in `*socketOut` for the caller to close. With
// `control`, each attempt is limited in time and the attempts and pauses end
// as soon as its running flag reads 0. `lastError` (when given) receives the
// error of the failing call, taken before anything else runs. A connected
// socket ends once its peer has answered nothing for `deadAfterS` seconds
// (see platform::EndConnectionWhenPeerDead).
struct ConnectControl {
  uint32_t attemptMs = 2000;                      // the longest one attempt lasts
  const std::atomic<int32_t>* running = nullptr;  // null: never stopped
  uint32_t deadAfterS = 0;                        // 0: the system's own limits
};
int32_t CreateSocketAndConnectToServer(int32_t socketType, uint16_t port, uint32_t address,
                                       platform::SocketHandle* socketOut, int32_t keepBlocking,
                                       int32_t attempts, int32_t receiveBuffer,
                                       uint32_t pauseMs = kConnectRetryPauseMs,
                                       const ConnectControl* control = nullptr,
                                       uint32_t* lastError = nullptr);

// Pauses up to `milliseconds`, less when `running` (when given) reads 0.
void PauseWhileRunning(uint32_t milliseconds, const std::atomic<int32_t>* running);

// Writes the text of a socket error number as one trace line (level 1).
void TraceSocketError(uint32_t code);

// Starts the socket service; 1 when version 2.0 is granted, else 0.
int32_t StartSocketLibrary();
