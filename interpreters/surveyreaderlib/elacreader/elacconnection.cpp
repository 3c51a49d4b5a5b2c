#include "interpreters/surveyreaderlib/elacreader/elacconnection.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

#include "libsys/errorlog.h"
#include "libsys/ztracelogfile.h"
#include "platform/framework/asyncselect.h"
#include "platform/tcpsocket.h"
#include "quorsocket/quorsocket.h"
#include "quorsocket/socketerrortext.h"

namespace {

constexpr uint32_t kReceiveBufferSize = 8192;
constexpr int32_t kConnectAttempts = 3;
constexpr int32_t kRequestPacketLength = 92;

// Texts as they stand, with their leading and trailing blanks.
constexpr SocketErrorText kReceiveErrorTexts[] = {
    {10004, " The (blocking) call was canceled through WSACancelBlockingCall. "},
    {10014,
     " The buf parameter is not completely contained in a valid part of the user address "
     "space. "},
    {10022,
     " The socket has not been bound with bind, or an unknown flag was specified, or MSG_OOB was "
     "specified for a socket with SO_OOBINLINE enabled or (for byte stream sockets only) len was "
     "zero or negative. "},
    {10035, " The socket is marked as nonblocking and the receive operation would block. "},
    {10036,
     " A blocking Windows Sockets 1.1 call is in progress, or the service provider is still "
     "processing a callback function. "},
    {10038, " The descriptor is not a socket. "},
    {10040, " The message was too large to fit into the specified buffer and was truncated. "},
    {10045,
     " MSG_OOB was specified, but the socket is not stream-style such as type SOCK_STREAM, "
     "out-of-band data is not supported in the communication domain associated with this "
     "socket, or the socket is unidirectional and supports only send operations. "},
    {10050, " The network subsystem has failed. "},
    {10052,
     " The connection has been broken due to the keep-alive activity detecting a failure while "
     "the operation was in progress. "},
    {10053,
     " The virtual circuit was terminated due to a time-out or other failure. The application "
     "should close the socket as it is no longer usable. "},
    {10054,
     " The virtual circuit was reset by the remote side executing a 'hard' or 'abortive' close. "
     "The application should close the socket as it is no longer usable. On a UDP datagram "
     "socket this error would indicate that a previous send operation resulted in an ICMP 'Port "
     "Unreachable' message. "},
    {10057, " The socket is not connected. "},
    {10058,
     " The socket has been shut down; it is not possible to recv on a socket after shutdown has "
     "been invoked with how set to SD_RECEIVE or SD_BOTH. "},
    {10060,
     " The connection has been dropped because of a network failure or because the peer system "
     "failed to respond. "},
    {10093, " A successful WSAStartup must occur before using this function. "},
};

// Failures of the exchange itself, numbered apart from the socket errors.
enum ExchangeFailure : uint32_t {
  kNoAcknowledge = 1,
  kBadAcknowledge,
  kNoAcknowledgeInTime,
  kNoFrame,
  kNoMemory,
  kNoAnswer,
};

// What a person reads at the end of a failed live run.
constexpr SocketErrorText kFailureTexts[] = {
    {kNoAcknowledge, "the server closed the connection without an acknowledge"},
    {kBadAcknowledge, "the server's acknowledge was too short"},
    {kNoAcknowledgeInTime, "no acknowledge from the server in time"},
    {kNoFrame, "no frame could be decoded from what the server sent"},
    {kNoMemory, "out of memory for a frame"},
    {platform::kSocketConnectionRefused, "connection refused"},
    {platform::kSocketTimedOut, "connection timed out"},
    {platform::kSocketHostUnreachable, "host unreachable"},
    {platform::kSocketNetworkUnreachable, "network unreachable"},
    {platform::kSocketNetworkDown, "network is down"},
    {platform::kSocketConnectionReset, "connection reset by the server"},
    {platform::kSocketAddressNotAvailable, "address not available"},
    {platform::kSocketInterrupted, "stopped"},
};

}  // namespace

ElacConnection::ElacConnection(quor::ISurveyTarget* target)
    : CSocketClient(false), ElacReader(target, kAllBeams) {
  SetStatistics(&liveStatistics_);
}

ElacConnection::ElacConnection() : CSocketClient(false) { SetStatistics(&liveStatistics_); }

void ElacConnection::NoteFailure(uint32_t code) {
  if (failureCode_ == 0) failureCode_ = code;
}

void ElacConnection::NoteConnectionFailure(uint32_t code) {
  NoteFailure(code == platform::kSocketTimedOut && limits_.deadAfterS > 0 ? kNoAnswer : code);
}

void ElacConnection::SetLimits(const Limits& limits) {
  limits_ = limits;
  noAnswerText_ = "no answer from the server for " + std::to_string(limits.deadAfterS) + " s";
}

const char* ElacConnection::FailureText() const {
  uint32_t code = failureCode_;
  // Phase 1's failure is the reader thread's to read only once published.
  if (code == 0 && phaseOne_.load(std::memory_order_acquire) == kRefused) code = phaseOneError_;
  if (code == 0 && ended_ && framesDecoded() == 0) code = kNoFrame;
  if (code == 0) return nullptr;
  if (code == kNoAnswer) return noAnswerText_.c_str();
  if (const char* text = FindSocketErrorText(kFailureTexts, code)) return text;
  return "the connection failed";
}

ElacConnection::~ElacConnection() {
  QUORLOG(1, "~ElacConnection()");
  // Phase 1's window, while it lasts, is dispatched by the thread that
  // called Connect: taking it down first waits for a handler of that thread
  // still running (the acknowledge step, say) and stops any further one.
  if (!IsOwnedByCallingThread()) DestroyWindow();
  ElacConnection::Close();
  requestFrame_.reset();
  acknowledgeFrame_.reset();
  QUORLOG(1, "~ElacConnection() Done");
  // The socket client's destructor destroys the window, which closes the
  // connection.
}

void ElacConnection::SetRunningFlag(const std::atomic<int32_t>* running) { running_ = running; }

bool ElacConnection::CreateCommunicationWindow() {
  // Stands for the framework's child window "XSE Communication" of the
  // thread's main window: what matters is the thread that owns it.
  return CreateOnThisThread();
}

template <typename Frame>
int ElacConnection::SendFrame(const Frame& frame, size_t length) {
  const auto wire = elac::WireBytes(frame);
  const int sent = Send(wire.data(), static_cast<int32_t>(length));
  const elac::Ipv4Address me = frame.SenderAddress();
  QUORLOG(1, "Open %d -> %d Send %ld of %d {%d.%d.%d.%d} I am {%d.%d.%d.%d}", port_,
          static_cast<int32_t>(socket_), static_cast<long>(sent), static_cast<int32_t>(length),
          serverAddress_[0], serverAddress_[1], serverAddress_[2], serverAddress_[3], me[0], me[1],
          me[2], me[3]);
  return sent;
}

bool ElacConnection::Connect(int32_t type, int16_t port, const uint8_t* address, const char* name) {
  QUORLOG(1, "Type %d Port %d", type, port);
  if (GetSafeHwnd() != 0) {
    QUORLOG(1, "Client socket already created!?");
  } else {
    CreateCommunicationWindow();
  }
  const elac::Ipv4Address localAddress = platform::LocalHostAddress();

  requestFrame_.reset();
  acknowledgeFrame_.reset();
  try {
    requestFrame_ = std::make_unique<elac::RequestFrame>(elac::RequestFrame::Build());
    acknowledgeFrame_ = std::make_unique<elac::AcknowledgeFrame>(elac::AcknowledgeFrame::Build());
  } catch (const std::bad_alloc&) {
    ERRORLOG(kErrorLogError, "%s", kErrorLogMessages[kErrNoMemory]);
    requestFrame_.reset();
    acknowledgeFrame_.reset();
    return false;
  }
  elac::RequestFrame& request = *requestFrame_;
  request.SetSequenceNumber(sequenceNumber_++);
  request.SetSenderAddress(localAddress);
  request.SetPort(elac::RequestFrame::kRequestPort);
  request.SetLinkCode(elac::RequestFrame::kLinkAsk);
  request.SetClientIdentification();
  if (name != nullptr) request.SetName(name);

  SetConnectControl({limits_.attemptMs, running_, limits_.deadAfterS}, limits_.pauseMs);
  const int connected = EstablishConnection(address, port, kReceiveBufferSize, kConnectAttempts);
  QUORLOG(1, "Socket to XSE Port %d -> soc %d ret %d", port_, static_cast<int32_t>(socket_),
          connected);
  if (connected == 0) {
    TraceSocketError(lastError());  // a connect error: the connect texts
    NoteFailure(lastError());
    return false;
  }
  SetPacketLength(kRequestPacketLength);
  state_ = CLIENTREQUEST;
  requestSent_ = std::chrono::steady_clock::now();
  phaseOne_.store(kPending, std::memory_order_release);
  if (SendFrame(request, elac::RequestFrame::kSize) != 0) return true;
  state_ = CONNECTED;
  phaseOneError_ = lastError();
  phaseOne_.store(kRefused, std::memory_order_release);
  ReportReceiveError(lastError());
  return false;
}

int32_t ElacConnection::OnReceive(uintptr_t wParam, intptr_t lParam) {
  const uint32_t event = static_cast<uint32_t>(lParam) & 0xFFFFu;
  const uint32_t error = static_cast<uint32_t>(lParam) >> 16;
  if (event == platform::kSocketCloseEvent) {
    QUORLOG(1, "OnReceive(): socket %d closed", static_cast<int32_t>(wParam));
    if (state_ == CLIENTREQUEST) {
      // The server went away without an acknowledge.
      state_ = CONNECTED;
      phaseOneError_ = error != 0 ? error : kNoAcknowledge;
      phaseOne_.store(kRefused, std::memory_order_release);
    } else if (state_ == READYFORDATA || state_ == DATARECEIVED) {
      // What was sent before the close has been read: the data ends here.
      ended_ = true;
      if (error != 0) {
        failed_ = true;
        NoteConnectionFailure(error);
        ReportReceiveError(error);
      }
    }
    return 1;
  }
  if (event != platform::kSocketReadEvent) return 0;
  switch (state_) {
    case CONNECTED:
      QUORLOG(1,
              "OnReceive(): Unexpected received data - ElacConnection::CONNECTED - unexpected "
              "data from XSE server!?");
      return CSocketClient::OnReceive(wParam, lParam);
    case CLIENTREQUEST:
      QUORLOG(1, "OnReceive(): Received data - CLIENTREQUEST");
      return ReceiveAcknowledge();
    case CLIENTACCEPTED:
      QUORLOG(1, "OnReceive(): Received data - CLIENTACCEPTED");
      return 1;
    case READYFORDATA:
      QUORLOG(3, "OnReceive(): Received data - READYFORDATA");
      [[fallthrough]];
    case DATARECEIVED:
      if (ReadWaiting() > 0) state_ = DATARECEIVED;
      return 1;
    default:
      QUORLOG(1, "OnReceive(): State ? %d", static_cast<int32_t>(state_));
      return CSocketClient::OnReceive(wParam, lParam);
  }
}

int32_t ElacConnection::ReceiveAcknowledge() {
  // Read apart from the decoder: the reader thread may look at the decoder
  // at any time (after its wait for this ran out, say).
  const std::span<uint8_t> room(acknowledgeBytes_);
  const int32_t received =
      platform::ReceiveFromSocket(socket_, room.data(), static_cast<int32_t>(room.size()));
  if (received == -1) {
    const uint32_t error = platform::LastSocketError();
    state_ = CONNECTED;
    phaseOneError_ = error;
    phaseOne_.store(kRefused, std::memory_order_release);
    ReportReceiveError(error);
    return 0;
  }
  if (received < static_cast<int32_t>(elac::AcknowledgeFrame::kFrameLength)) {
    QUORLOG(1, "OnReceive(): Bad request acknowledge from server!? %d bytes expected",
            static_cast<int32_t>(elac::AcknowledgeFrame::kFrameLength));
    state_ = CONNECTED;
    phaseOneError_ = kBadAcknowledge;
    phaseOne_.store(kRefused, std::memory_order_release);
    return 0;
  }
  Close();  // releases the request on this connection; NOTCONNECTED
  // The socket service stays started while no window holds it.
  StartSocketLibrary();
  // The record takes the bytes received and zeros behind them (never what
  // an earlier use of the buffer left).
  if (static_cast<size_t>(received) < elac::AcknowledgeFrame::kSize) {
    std::fill(room.begin() + received, room.begin() + elac::AcknowledgeFrame::kSize, uint8_t{0});
  }
  acknowledgeFrame_->Receive(std::span<const uint8_t>(room.data(), elac::AcknowledgeFrame::kSize));
  QUORLOG(1, "OnReceive(): New requested port %d", acknowledgeFrame_->SignedDataPort());
  state_ = CLIENTACCEPTED;
  phaseOne_.store(kAccepted, std::memory_order_release);
  // The window goes for good when this handler has returned; Open waits
  // for that.
  DestroyWindow();
  return 1;
}

bool ElacConnection::GiveUp(const char* reason) {
  QUORLOG(1, "%s", reason);
  failed_ = true;
  return false;
}

bool ElacConnection::Open(const char* /*name*/) {
  QUORLOG(1, "Open(void)");
  if (failed_) return false;
  switch (phaseOne_.load(std::memory_order_acquire)) {
    case kNoRequest:
      return GiveUp("Open(): no request sent - nothing to open");
    case kRefused:
      return GiveUp("Open(): no valid acknowledge from server - giving up");
    case kPending: {
      const auto waited = std::chrono::steady_clock::now() - requestSent_;
      if (waited >= std::chrono::milliseconds(limits_.acknowledgeMs)) {
        QUORLOG(1, "Open(): no acknowledge from server within %d ms - giving up",
                static_cast<int32_t>(limits_.acknowledgeMs));
        NoteFailure(kNoAcknowledgeInTime);
        failed_ = true;
        return false;
      }
      QUORLOG(1, "Open suspended due to already active window handle.");
      return false;
    }
    default:
      break;
  }
  // Accepted: phase 1's window is gone once its handler has returned.
  if (!IsOwnedByCallingThread() || GetSafeHwnd() != 0) {
    QUORLOG(1, "Open suspended due to already active window handle.");
    return false;
  }
  CreateCommunicationWindow();
  const uint16_t dataPort = acknowledgeFrame_->DataPort();
  SetConnectControl({limits_.attemptMs, running_, limits_.deadAfterS}, limits_.pauseMs);
  const int connected = EstablishConnection(serverAddress_.data(), static_cast<int16_t>(dataPort),
                                            kReceiveBufferSize, kConnectAttempts);
  QUORLOG(1, "Socket to XSE Port %d -> soc %d ret %d", port_, static_cast<int32_t>(socket_),
          connected);
  if (connected == 0) {
    QUORLOG(1, "Couldn't connect finally to server port %d!?", acknowledgeFrame_->SignedDataPort());
    state_ = NOTCONNECTED;
    TraceSocketError(lastError());  // a connect error: the connect texts
    NoteFailure(lastError());
    failed_ = true;
    return false;
  }

  elac::SetupFrame1 setup1 = elac::SetupFrame1::Build();
  elac::SetupFrame2 setup2 = elac::SetupFrame2::Build();
  elac::SetupFrame3 setup3 = elac::SetupFrame3::Build();
  setup1.SetSequenceNumber(sequenceNumber_);
  setup2.SetSequenceNumber(sequenceNumber_ + 1);
  setup3.SetSequenceNumber(sequenceNumber_ + 2);
  sequenceNumber_ += 3;
  if (requestFrame_ != nullptr) {
    setup1.SetSenderAddress(requestFrame_->SenderAddress());
    setup2.SetSenderAddress(requestFrame_->SenderAddress());
    setup3.SetSenderAddress(requestFrame_->SenderAddress());
  }
  const bool sent = SendFrame(setup1, setup1.kSize) != 0 && SendFrame(setup2, setup2.kSize) != 0 &&
                    SendFrame(setup3, setup3.kSize) != 0;
  if (!sent) {
    state_ = CONNECTED;
    NoteFailure(lastError());
    ReportReceiveError(lastError());
    failed_ = true;
    return false;
  }
  state_ = READYFORDATA;
  return true;
}

size_t ElacConnection::ReadWaiting() {
  size_t total = 0;
  while (!ended_ && IsConnected()) {
    const std::span<uint8_t> room = decoder_.Room();
    if (room.empty() && decoder_.outOfMemory()) {
      // Waiting would wait for ever: no later read can complete the frame.
      QUORLOG(1, "receiveData(): no memory for a frame of %lld bytes - giving up",
              static_cast<long long>(decoder_.wanted()));
      NoteFailure(kNoMemory);
      ended_ = true;
      failed_ = true;
      break;
    }
    if (room.empty()) {
      // Full: nothing is discarded. The bytes wait in the kernel, and TCP
      // slows the server down until the held frames are decoded.
      QUORLOG(3, "OnReceive(): DATARECEIVED - buffer full (%d bytes), reading paused",
              static_cast<int32_t>(decoder_.capacity()));
      break;
    }
    const auto asked =
        static_cast<int32_t>(std::min<size_t>(room.size(), std::numeric_limits<int32_t>::max()));
    const int32_t received = platform::ReceiveFromSocket(socket_, room.data(), asked);
    if (received > 0) {
      decoder_.Commit(static_cast<size_t>(received));
      total += static_cast<size_t>(received);
      bytesReceived_ += static_cast<uint64_t>(received);
      QUORLOG(3, "OnReceive(): DATARECEIVED - bytes read %d - (new) bufferstart %d", received,
              bufferstart());
      if (received < asked) break;  // nothing more was waiting
      continue;
    }
    if (received == 0) {
      QUORLOG(1, "receiveData(): the server closed the data connection");
      ended_ = true;
      break;
    }
    const uint32_t error = platform::LastSocketError();
    if (error == platform::kSocketWouldBlock) break;
    NoteConnectionFailure(error);
    ReportReceiveError(error);
    QUORLOG(1, "receiveData(): the data connection failed - giving up");
    ended_ = true;
    failed_ = true;
  }
  return total;
}

bool ElacConnection::receiveData(int32_t& processed, int32_t /*reserved*/) {
  processed = 0;
  if (failed_ && decoder_.held() == 0) {
    QUORLOG(1,
            "receiveData(): state ElacConnection::(NOT)CONNECTED - something went wrong in "
            "server communication!?");
    return false;
  }
  // Phase 1 may still be running on another thread: nothing here is ours
  // to look at until it has handed over.
  if (phaseOne_.load(std::memory_order_acquire) == kPending) return true;
  PumpMessages();  // the data connection's notifications
  switch (state_) {
    case CLIENTREQUEST:
    case CLIENTACCEPTED:
      return true;
    case READYFORDATA:
    case DATARECEIVED:
      break;
    default:
      QUORLOG(1,
              "receiveData(): state ElacConnection::(NOT)CONNECTED - something went wrong in "
              "server communication!?");
      return false;
  }

  // Read and decode in turn until nothing more waits or the budget is
  // spent; wait for data only when a round found none.
  const auto start = std::chrono::steady_clock::now();
  size_t consumed = 0;
  bool waited = false;
  for (;;) {
    const size_t read = ReadWaiting();
    consumed += decoder_.Decode(*this);
    if (!Running() || ended_) break;
    if (read == 0) {
      if (consumed > 0 || waited || !IsConnected()) break;
      // Nothing was waiting: wait for data, but no longer than that.
      waited = true;
      if (!platform::WaitUntilReadable(socket_, kPendingDataWaitMs)) break;
      continue;
    }
    if (consumed >= kDrainBudgetBytes ||
        std::chrono::steady_clock::now() - start >= std::chrono::milliseconds(kDrainBudgetMs))
      break;
  }
  state_ = READYFORDATA;
  QUORLOG(3, "receiveData(): %d bytes processed, %d held", static_cast<int32_t>(consumed),
          bufferstart());
  processed = static_cast<int32_t>(std::min<size_t>(consumed, std::numeric_limits<int32_t>::max()));
  if (ended_ && consumed == 0) {
    // Every complete frame has been decoded; what is still held is the
    // start of a frame that will never be completed.
    QUORLOG(1, "receiveData(): end of the data, %d bytes left undecoded", bufferstart());
    decoder_.Clear();
    return false;
  }
  return true;
}

void ElacConnection::Close() {
  QUORLOG(1, "~Close()");
  if (acknowledgeFrame_ != nullptr && acknowledgeFrame_->SignedDataPort() > 0) {
    acknowledgeFrame_->SetLinkCode(elac::RequestFrame::kLinkRelease);
    SendFrame(*acknowledgeFrame_, elac::AcknowledgeFrame::kSize);
  }
  if (requestFrame_ != nullptr) {
    requestFrame_->SetLinkCode(elac::RequestFrame::kLinkRelease);
    SendFrame(*requestFrame_, elac::RequestFrame::kSize);
  }
  state_ = NOTCONNECTED;
  QUORLOG(1, "Close connection done");
}

void ElacConnection::ReportReceiveError(uint32_t code) {
  if (const char* text = FindSocketErrorText(kReceiveErrorTexts, code)) {
    QUORLOG(1, "%s", text);
  } else {
    QUORLOG(1, " The socket connection has failed due to a not known error. %d",
            static_cast<int32_t>(code));
  }
}
