// ElacConnection: live XSE data from an XSE server, decoded like a file. It
// is a socket client, a data source and a decoder at once.
//
// Set-up runs in two phases on two threads. Connect (phase 1, on the
// calling thread, which must then keep dispatching its window messages)
// connects to the server's port and sends the request; the acknowledge
// arrives through that thread's messages and names the data port. Open
// (phase 2, on the reader thread) proceeds once phase 1 has handed over:
// it connects to the data port and sends the three set-up frames. From then
// on receiveData dispatches the reader thread's messages, which store what
// arrives, and decodes the complete frames held.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

#include "interpreters/surveyreaderlib/elacreader/elacmessages.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/ielaccontainer.h"
#include "platform/event.h"
#include "quorsocket/socketclient.h"

class ElacConnection : public CSocketClient, public IElacContainer, public ElacReader {
 public:
  enum State : int32_t {
    NOTCONNECTED = 0,
    CONNECTED = 1,  // connected, but the exchange with the server failed
    CLIENTREQUEST = 2,
    CLIENTACCEPTED = 3,
    READYFORDATA = 4,
    DATARECEIVED = 5,
  };

  static constexpr int32_t kDataBufferSize = 65536;

  // Records go to `target` (not owned; null: nowhere), all heads.
  explicit ElacConnection(quor::ISurveyTarget* target);
  ElacConnection();
  ~ElacConnection() override;

  // Phase 1: connects to `address` (four bytes, first octet first):`port`
  // and sends the request naming the client `name` (null: no name). True
  // when the request went out; `type` only appears in the trace.
  bool Connect(int32_t type, int16_t port, const uint8_t* address, const char* name);
  // Phase 2: false at once while phase 1 has not handed over (or failed, or
  // no Connect came first); otherwise connects to the data port and sends
  // the set-up frames. `name` is not used.
  bool Open(const char* name) override;
  // Dispatches the thread's messages, waits up to 100 ms for new data and
  // decodes the complete frames held. `processed` is the byte count held
  // when the call began (0 when nothing was decoded). False once the
  // exchange with the server has failed or the connection was closed.
  bool receiveData(int32_t& processed, int32_t reserved) override;
  // Releases the server's side (the acknowledge record and the request with
  // link code 2); the socket and window stay until the window goes.
  void Close() override;
  bool IsOpen() override { return false; }

  int32_t OnReceive(uintptr_t wParam, intptr_t lParam) override;

  // Traces the text of a receive-side socket error.
  static void ReportReceiveError(uint32_t code);

  State state() const { return state_; }
  int32_t bufferstart() const { return bufferstart_; }

 private:
  bool CreateCommunicationWindow();
  int32_t ReceiveAcknowledge();
  int32_t ReceiveData();
  void DecodeHeld();
  // Sends a message record in network order and turns it back; traces the
  // send as "Open ... Send ...". Returns the send's result.
  template <typename Frame>
  int SendFrame(Frame& frame, size_t length);

  platform::ManualResetEvent pendingDataEvent_;
  std::unique_ptr<elac::RequestFrame> requestFrame_;
  std::unique_ptr<elac::AcknowledgeFrame> acknowledgeFrame_;
  uint32_t sequenceNumber_ = 1;
  State state_ = NOTCONNECTED;
  std::array<uint8_t, kDataBufferSize> dataBuffer_{};
  int32_t bufferstart_ = 0;
  // Phase 1's window is up. Cleared, with release order, only when the
  // acknowledge step has stored the acknowledge and set CLIENTACCEPTED, so
  // an Open that sees it clear also sees all of that.
  std::atomic<bool> phaseOneWindow_{false};
};
