// ElacConnection: live XSE data from an XSE server, decoded like a file. It
// is a socket client, a data source and a decoder at once.
//
// Set-up runs in two phases on two threads. Connect (phase 1, on the
// calling thread, which must then keep dispatching its window messages)
// connects to the server's port and sends the request; the acknowledge
// arrives through that thread's messages and names the data port. Open
// (phase 2, on the reader thread) proceeds once phase 1 has handed over:
// it connects to the data port and sends the three set-up frames. From then
// on receiveData reads what arrives and decodes the complete frames held.
// A failure at any step, or the server ending the data, ends the run; no
// byte is ever discarded to make room (see LiveDecoder).
#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/elacmessages.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/ielaccontainer.h"
#include "interpreters/surveyreaderlib/elacreader/livedecoder.h"
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"
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

  // How long each step may take. A step that runs out ends the run.
  struct Limits {
    uint32_t acknowledgeMs = 3000;  // from the request to the acknowledge
    uint32_t attemptMs = 1000;      // one connect attempt to the data port
    uint32_t pauseMs = 250;         // between connect attempts
    // A connection whose server has answered nothing, not even the
    // system's probes, for this long ends the run; 0: the system's limits.
    uint32_t deadAfterS = 0;
  };

  // What one receiveData call may take before it returns, so that progress
  // reports and a stop are seen in good time while a fast server streams.
  static constexpr size_t kDrainBudgetBytes = 16u << 20;
  static constexpr uint32_t kDrainBudgetMs = 20;
  // The longest receiveData waits when nothing is waiting.
  static constexpr uint32_t kPendingDataWaitMs = 100;

  // Records go to `target` (not owned; null: nowhere), all heads.
  explicit ElacConnection(quor::ISurveyTarget* target);
  ElacConnection();
  // Releases the server's side and closes the connection. A phase-1 window
  // still up belongs to the thread that called Connect: its handler is
  // waited for and no further one runs, so this may run on any thread.
  ~ElacConnection() override;

  // Connect attempts, the pauses between them and the draining in
  // receiveData end as soon as `running` (not owned; null: never) reads 0.
  void SetRunningFlag(const std::atomic<int32_t>* running);
  void SetLimits(const Limits& limits);
  // Where the buffer's growth takes its memory; for tests.
  void SetDecoderAllocator(elac::LiveDecoder::Allocate allocate) {
    decoder_.SetAllocator(allocate);
  }

  // Phase 1: connects to `address` (four bytes, first octet first):`port`
  // and sends the request naming the client `name` (null: no name). True
  // when the request went out; `type` only appears in the trace.
  bool Connect(int32_t type, int16_t port, const uint8_t* address, const char* name);
  // Phase 2: false while phase 1 has not handed over; false for good (see
  // Failed) when phase 1 failed, no acknowledge came in time, no Connect came
  // first, the data port cannot be reached or a set-up frame not sent.
  // Otherwise connects to the data port, sends the set-up frames and is
  // true. `name` is not used.
  bool Open(const char* name) override;
  // Reads what is waiting and decodes every complete frame, in turn, until
  // nothing more waits or the budget is spent; waits up to 100 ms (less when
  // data arrives) only when nothing was waiting. `processed` is the bytes
  // this call consumed. False, with processed 0, once the exchange failed or
  // the server ended the data connection and every complete frame held was
  // decoded.
  bool receiveData(int32_t& processed, int32_t reserved) override;
  // Releases the server's side (the acknowledge record and the request with
  // link code 2); the socket and window stay until the window goes.
  void Close() override;
  bool IsOpen() override { return false; }

  int32_t OnReceive(uintptr_t wParam, intptr_t lParam) override;

  // Traces the text of a receive-side socket error.
  static void ReportReceiveError(uint32_t code);

  // The reader thread's view: the exchange failed (phase 1, phase 2, or the
  // data connection reset).
  bool Failed() const { return failed_; }
  // The server ended the data connection in order after at least one frame
  // was decoded: bytes that held no frame are no data.
  bool EndedWithData() const { return ended_ && !failed_ && framesDecoded() > 0; }
  uint64_t bytesReceived() const { return bytesReceived_; }
  uint64_t framesDecoded() const { return liveStatistics_.FramesDecoded(); }
  // Why the exchange failed or came to nothing, in a person's words with the
  // system's error text where there is one ("connection refused"); null
  // while there is nothing to say.
  const char* FailureText() const;

  State state() const { return state_; }
  // Bytes held, not yet consumed.
  int32_t bufferstart() const { return static_cast<int32_t>(decoder_.held()); }
  size_t bufferCapacity() const { return decoder_.capacity(); }

 private:
  enum PhaseOne : int32_t { kNoRequest, kPending, kAccepted, kRefused };

  bool CreateCommunicationWindow();
  int32_t ReceiveAcknowledge();
  // Reads until nothing more waits, the buffer is full or the connection
  // ended; returns the bytes read.
  size_t ReadWaiting();
  bool GiveUp(const char* reason);
  // Notes `code` (a socket error) as the failure, unless one is noted.
  void NoteFailure(uint32_t code);
  // Notes the failure of an established connection: a time-out there is
  // the server's silence.
  void NoteConnectionFailure(uint32_t code);
  bool Running() const { return running_ == nullptr || running_->load() != 0; }
  // Sends a message record's wire bytes (a network-order copy: the record
  // stays in host order); traces the send as "Open ... Send ...". Returns
  // the send's result.
  template <typename Frame>
  int SendFrame(const Frame& frame, size_t length);

  std::unique_ptr<elac::RequestFrame> requestFrame_;
  std::unique_ptr<elac::AcknowledgeFrame> acknowledgeFrame_;
  uint32_t sequenceNumber_ = 1;
  State state_ = NOTCONNECTED;
  elac::LiveDecoder decoder_;
  Limits limits_;
  const std::atomic<int32_t>* running_ = nullptr;
  std::chrono::steady_clock::time_point requestSent_;
  // Phase 1's own: the acknowledge is read here, never into the decoder,
  // which belongs to the reader thread.
  std::array<uint8_t, elac::AcknowledgeFrame::kSize> acknowledgeBytes_{};
  // Phase 1's failure, published with phaseOne_.
  uint32_t phaseOneError_ = 0;
  // Phase 1's outcome, published by the thread that handles the
  // acknowledge (release order) once it has stored it and set its state.
  std::atomic<int32_t> phaseOne_{kNoRequest};
  // The reader thread's own.
  bool failed_ = false;
  bool ended_ = false;
  uint64_t bytesReceived_ = 0;
  uint32_t failureCode_ = 0;  // a socket error, or one of the connection's own
  std::string noAnswerText_;  // names the time allowed
  elac::ReadStatistics liveStatistics_;
};
