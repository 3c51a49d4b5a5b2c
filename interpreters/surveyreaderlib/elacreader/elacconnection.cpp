#include "interpreters/surveyreaderlib/elacreader/elacconnection.h"

#include <cstring>
#include <new>

#include "interpreters/surveyreaderlib/elacreader/memorystream.h"
#include "libsys/errorlog.h"
#include "libsys/ztracelogfile.h"
#include "platform/framework/asyncselect.h"
#include "quorsocket/quorsocket.h"
#include "quorsocket/socketerrortext.h"

namespace {

constexpr uint32_t kReceiveBufferSize = 8192;
constexpr int32_t kConnectAttempts = 3;
constexpr int32_t kRequestPacketLength = 92;
constexpr uint32_t kPendingDataWaitMs = 100;
// Four or fewer bytes left after a frame are its end marker, which ReadFrame
// leaves in the stream.
constexpr int32_t kEndMarkerRest = 5;

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

}  // namespace

ElacConnection::ElacConnection(quor::ISurveyTarget* target)
    : CSocketClient(false), ElacReader(target, kAllBeams) {}

ElacConnection::ElacConnection() : CSocketClient(false) {}

ElacConnection::~ElacConnection() {
  QUORLOG(1, "~ElacConnection()");
  ElacConnection::Close();
  requestFrame_.reset();
  acknowledgeFrame_.reset();
  QUORLOG(1, "~ElacConnection() Done");
  // The socket client's destructor destroys the window, which closes the
  // connection.
}

bool ElacConnection::CreateCommunicationWindow() {
  // Stands for the framework's child window "XSE Communication" of the
  // thread's main window: what matters is the thread that owns it.
  return CreateOnThisThread();
}

template <typename Frame>
int ElacConnection::SendFrame(Frame& frame, size_t length) {
  frame.ToNetworkOrder();
  const int sent = Send(frame.Bytes().data(), static_cast<int32_t>(length));
  frame.ToNetworkOrder();
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
  } else if (CreateCommunicationWindow()) {
    phaseOneWindow_.store(true, std::memory_order_release);
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
  request.SetIdentification(107, 1);
  if (name != nullptr) request.SetName(name);

  const int connected = EstablishConnection(address, port, kReceiveBufferSize, kConnectAttempts);
  const uint32_t error = platform::LastSocketError();
  QUORLOG(1, "Socket to XSE Port %d -> soc %d ret %d", port_, static_cast<int32_t>(socket_),
          connected);
  if (connected == 0) {
    ReportReceiveError(error);
    return false;
  }
  SetPacketLength(kRequestPacketLength);
  state_ = CLIENTREQUEST;
  if (SendFrame(request, elac::RequestFrame::kSize) != 0) return true;
  state_ = CONNECTED;
  ReportReceiveError(platform::LastSocketError());
  return false;
}

int32_t ElacConnection::OnReceive(uintptr_t wParam, intptr_t lParam) {
  const uint32_t event = static_cast<uint32_t>(lParam) & 0xFFFFu;
  if (event == platform::kSocketCloseEvent) {
    QUORLOG(1, "OnReceive(): socket %d closed", static_cast<int32_t>(wParam));
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
      return ReceiveData();
    case DATARECEIVED:
      return ReceiveData();
    default:
      QUORLOG(1, "OnReceive(): State ? %d", static_cast<int32_t>(state_));
      return CSocketClient::OnReceive(wParam, lParam);
  }
}

int32_t ElacConnection::ReceiveAcknowledge() {
  const int32_t received =
      platform::ReceiveFromSocket(socket_, dataBuffer_.data(), kDataBufferSize);
  if (received == -1) {
    state_ = CONNECTED;
    ReportReceiveError(platform::LastSocketError());
    return 0;
  }
  if (received < static_cast<int32_t>(elac::AcknowledgeFrame::kFrameLength)) {
    QUORLOG(1, "OnReceive(): Bad request acknowledge from server!? %d bytes expected",
            static_cast<int32_t>(elac::AcknowledgeFrame::kFrameLength));
    state_ = CONNECTED;
    return 0;
  }
  Close();  // releases the request on this connection; NOTCONNECTED
  // The socket service stays started while no window holds it.
  StartSocketLibrary();
  // The acknowledge is stored and the state set before the window goes:
  // the reader thread's Open proceeds as soon as it sees the window gone.
  acknowledgeFrame_->Receive(std::span<const uint8_t>(dataBuffer_.data(), kDataBufferSize));
  QUORLOG(1, "OnReceive(): New requested port %d", acknowledgeFrame_->SignedDataPort());
  state_ = CLIENTACCEPTED;
  DestroyWindow();
  phaseOneWindow_.store(false, std::memory_order_release);
  return 1;
}

int32_t ElacConnection::ReceiveData() {
  for (;;) {
    int32_t free = kDataBufferSize - bufferstart_;
    QUORLOG(3, "OnReceive(): DATARECEIVED - bufferstart %d; buffersize %d", bufferstart_, free);
    if (free < 1) {
      bufferstart_ = 0;
      QUORLOG(1, "OnReceive(): DATARECEIVED - buffer reset, data discarded!");
      free = kDataBufferSize;
    }
    const int32_t received =
        platform::ReceiveFromSocket(socket_, dataBuffer_.data() + bufferstart_, free);
    if (received == -1) {
      // Also the way out when nothing more is waiting: the socket does not
      // block. What earlier passes stored stays held.
      ReportReceiveError(platform::LastSocketError());
      return 0;
    }
    if (received > 0) {
      bufferstart_ += received;
      QUORLOG(3, "OnReceive(): DATARECEIVED - bytes read %d - (new) bufferstart %d", received,
              bufferstart_);
    }
    if (received == free && received > 0) continue;  // there may be more waiting
    state_ = DATARECEIVED;
    pendingDataEvent_.Set();
    return 1;
  }
}

bool ElacConnection::Open(const char* /*name*/) {
  QUORLOG(1, "Open(void)");
  // Phase 1's flag first: once it reads clear, the window handle and the
  // acknowledge are this thread's to read.
  if (phaseOneWindow_.load(std::memory_order_acquire) || GetSafeHwnd() != 0) {
    QUORLOG(1, "Open suspended due to already active window handle.");
    return false;
  }
  if (acknowledgeFrame_ == nullptr) return false;  // no Connect came first
  CreateCommunicationWindow();
  const uint16_t dataPort = acknowledgeFrame_->DataPort();
  const int connected = EstablishConnection(serverAddress_.data(), static_cast<int16_t>(dataPort),
                                            kReceiveBufferSize, kConnectAttempts);
  const uint32_t error = platform::LastSocketError();
  QUORLOG(1, "Socket to XSE Port %d -> soc %d ret %d", port_, static_cast<int32_t>(socket_),
          connected);
  if (connected == 0) {
    QUORLOG(1, "Couldn't connect finally to server port %d!?", acknowledgeFrame_->SignedDataPort());
    state_ = NOTCONNECTED;
    ReportReceiveError(error);
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
    ReportReceiveError(platform::LastSocketError());
    return false;
  }
  state_ = READYFORDATA;
  return true;
}

bool ElacConnection::receiveData(int32_t& processed, int32_t /*reserved*/) {
  PumpMessages();
  pendingDataEvent_.Wait(kPendingDataWaitMs);
  processed = bufferstart_;
  switch (state_) {
    case CLIENTREQUEST:
    case CLIENTACCEPTED:
    case READYFORDATA:
      processed = 0;
      pendingDataEvent_.Reset();
      return true;
    case DATARECEIVED:
      if (processed < 1) {
        QUORLOG(1, "receiveData(): state ElacConnection::DATARECEIVED but no data in buffer!?");
        processed = 0;
        pendingDataEvent_.Reset();
        return true;
      }
      DecodeHeld();
      state_ = READYFORDATA;
      pendingDataEvent_.Reset();
      return true;
    default:
      QUORLOG(1,
              "receiveData(): state ElacConnection::(NOT)CONNECTED - something went wrong in "
              "server communication!?");
      processed = 0;
      pendingDataEvent_.Reset();
      return false;
  }
}

// Frames are decoded in place through a stream over the bytes held. A pass
// that stops early (a frame not yet complete, or one rejected) keeps only the
// bytes it has not consumed, moved to the front, so no frame is decoded
// twice and an incomplete one is completed by the next read.
void ElacConnection::DecodeHeld() {
  const int32_t available = bufferstart_;
  QUORLOG(3, "receiveData(): %d bytes about to be processed", available);
  elac::MemoryStream stream(
      std::span<const uint8_t>(dataBuffer_.data(), static_cast<size_t>(available)));
  int32_t remain = 0;
  int32_t keepFrom = 0;  // the first byte not consumed
  for (;;) {
    const std::streamoff before = stream.tellg();
    const bool read = ReadFrame(stream);
    const std::streamoff after = stream.fail() ? -1 : static_cast<std::streamoff>(stream.tellg());
    const auto consumed = static_cast<int32_t>(after - before);
    if (!read) {
      if (!stream.eof()) {
        QUORLOG(1, "receiveData(): Bad Frame ignored, %d bytes buffered up", bufferstart_);
        // What the rejected frame consumed is passed over.
        stream.clear();
        const std::streamoff at = stream.tellg();
        keepFrom = at < 0 ? available : static_cast<int32_t>(at);
      } else {
        QUORLOG(1, "receiveData(): ok eof, %d bytes buffered up", bufferstart_);
        keepFrom = static_cast<int32_t>(before);
      }
      break;
    }
    keepFrom = static_cast<int32_t>(after);
    if (consumed < 2 || consumed > available) {
      QUORLOG(3, "receiveData(): %d bytes processed - buffer reset!?", consumed);
      bufferstart_ = 0;
    } else if (remain == 0) {
      remain = available - consumed;
      if (remain < kEndMarkerRest) {
        QUORLOG(1, "receiveData(): ok, %d bytes processed - buffer reset", consumed);
        bufferstart_ = 0;
      }
    } else {
      remain -= consumed;
      QUORLOG(1, "receiveData(): ok, %d bytes processed - remain %d", consumed, remain);
      if (remain < kEndMarkerRest) {
        QUORLOG(1, "receiveData(): ok, all %d buffered bytes processed - buffer reset", available);
        bufferstart_ = 0;
      }
    }
    if (stream.eof() || bufferstart_ <= 0) break;
  }
  if (bufferstart_ > 0 && keepFrom > 0) {
    const int32_t kept = available - keepFrom;
    std::memmove(dataBuffer_.data(), dataBuffer_.data() + keepFrom, static_cast<size_t>(kept));
    bufferstart_ = kept;
  }
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
