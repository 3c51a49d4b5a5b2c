#include "tools/xseserver/xseserver.h"

#include <algorithm>
#include <array>
#include <utility>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"

namespace xseserver {

namespace {

using platform::SocketHandle;

constexpr size_t kSetupLengths[] = {76, 92, 72};
// The client's release messages, told apart by their size word S.
constexpr uint32_t kRequestBodySize = elac::RequestFrame::kSize - 12;
constexpr uint32_t kAcknowledgeBodySize = elac::AcknowledgeFrame::kFrameLength - 12;

class ScopedSocket {
 public:
  ScopedSocket() = default;
  ScopedSocket(const ScopedSocket&) = delete;
  ScopedSocket& operator=(const ScopedSocket&) = delete;
  ~ScopedSocket() { platform::CloseSocket(socket); }
  SocketHandle socket = platform::kInvalidSocket;
};

uint32_t BigEndianWord(const uint8_t* bytes) {
  return elac::LoadScalar<uint32_t>(bytes, std::endian::big);
}

}  // namespace

XseServer::XseServer(Options options) : options_(std::move(options)) {}

XseServer::~XseServer() {
  for (const SocketHandle filler : queueFillers_) platform::CloseSocket(filler);
  platform::CloseSocket(listener_);
  platform::CloseSocket(dataListener_);
}

bool XseServer::Start(std::string& error) {
  port_ = options_.port;
  dataPort_ = options_.dataPort;
  listener_ = platform::ListenOnLoopback(port_);
  // A queue of one, kept full, makes every further connect wait in vain.
  const int32_t backlog = options_.dataNeverAccepts ? 0 : 4;
  if (listener_ != platform::kInvalidSocket)
    dataListener_ = platform::ListenOnLoopback(dataPort_, backlog);
  if (listener_ == platform::kInvalidSocket || dataListener_ == platform::kInvalidSocket) {
    error = "cannot listen on 127.0.0.1 (socket error " +
            std::to_string(platform::LastSocketError()) + ")";
    return false;
  }
  constexpr uint32_t kLoopback = 0x0100007F;  // 127.0.0.1, first octet first in memory
  for (int i = 0; options_.dataNeverAccepts && i < 4; ++i) {
    const SocketHandle filler = platform::CreateIpv4Socket(platform::kStreamSocket);
    if (filler == platform::kInvalidSocket) break;
    queueFillers_.push_back(filler);
    if (!platform::ConnectIpv4Within(filler, kLoopback, dataPort_, 100)) break;
  }
  return true;
}

bool XseServer::AcceptFrom(SocketHandle listener, SocketHandle& accepted,
                           std::string& error) const {
  if (!platform::WaitUntilReadable(listener, options_.waitMs)) {
    error = "no client connected within " + std::to_string(options_.waitMs) + " ms";
    return false;
  }
  accepted = platform::AcceptConnection(listener);
  if (accepted == platform::kInvalidSocket) error = "accept failed";
  return accepted != platform::kInvalidSocket;
}

bool XseServer::ReadExactly(SocketHandle socket, uint8_t* into, size_t length,
                            std::string& error) const {
  size_t got = 0;
  while (got < length) {
    if (!platform::WaitUntilReadable(socket, options_.waitMs)) {
      error = "client sent " + std::to_string(got) + " of " + std::to_string(length) +
              " bytes within " + std::to_string(options_.waitMs) + " ms";
      return false;
    }
    const int32_t n = platform::ReceiveSome(socket, into + got, static_cast<int32_t>(length - got));
    if (n <= 0) {
      error = n == 0 ? "client closed the connection" : "receive failed";
      return false;
    }
    got += static_cast<size_t>(n);
  }
  return true;
}

bool XseServer::ReadRequest(SocketHandle socket, Session& session) const {
  elac::RequestFrame request;
  if (!ReadExactly(socket, request.Bytes().data(), request.kSize, session.error)) return false;
  request.ToNetworkOrder();  // back to host order
  session.requests.push_back(request);
  return true;
}

Session XseServer::ServeOne(std::span<const uint8_t> survey) {
  const size_t chunk = std::max<size_t>(options_.chunkBytes, 1);
  size_t sent = 0;
  return ServeOne([&]() {
    const size_t length = std::min(chunk, survey.size() - sent);
    const std::span<const uint8_t> piece = survey.subspan(sent, length);
    sent += length;
    return piece;
  });
}

Session XseServer::ServeOne(const ChunkSource& survey) {
  Session session;
  {
    ScopedSocket control;
    if (!AcceptFrom(listener_, control.socket, session.error)) return session;
    if (!ReadRequest(control.socket, session)) return session;

    elac::AcknowledgeFrame acknowledge = elac::AcknowledgeFrame::Build();
    acknowledge.SetSequenceNumber(session.requests.back().SequenceNumber());
    acknowledge.SetHalfWord(44, options_.announcedPort >= 0
                                    ? static_cast<uint16_t>(options_.announcedPort)
                                    : dataPort_);
    acknowledge.ToNetworkOrder();
    // The record's conversion leaves the group words alone (a client keeps
    // them as received); on the wire they are big-endian like the rest.
    for (const size_t offset : {size_t{36}, size_t{40}, size_t{58}, size_t{62}}) {
      acknowledge.SetWord(offset, elac::ByteSwap(acknowledge.Word(offset)));
    }
    const size_t length = std::min(options_.acknowledgeLength, acknowledge.kSize);
    if (!options_.acknowledgeBytes.empty()) {
      platform::SendToSocket(control.socket, options_.acknowledgeBytes.data(),
                             static_cast<int32_t>(options_.acknowledgeBytes.size()));
    } else if (length > 0) {
      platform::SendToSocket(control.socket, acknowledge.Bytes().data(),
                             static_cast<int32_t>(length));
    }
    // The client releases this connection with its request before it
    // closes it.
    if (!ReadRequest(control.socket, session)) return session;
  }

  if (options_.dataNeverAccepts) {
    session.error = "the data port does not accept";
    return session;
  }
  ScopedSocket data;
  if (!AcceptFrom(dataListener_, data.socket, session.error)) return session;
  for (const size_t length : kSetupLengths) {
    std::vector<uint8_t> frame(length);
    if (!ReadExactly(data.socket, frame.data(), length, session.error)) return session;
    session.setupSequenceNumbers.push_back(BigEndianWord(frame.data() + 24));
    session.setupFrames.push_back(std::move(frame));
  }
  SendSurvey(data.socket, survey, session);
  if (session.bytesSent >= options_.resetAfterBytes) {
    platform::AbortConnection(data.socket);
    data.socket = platform::kInvalidSocket;
    session.error = "data connection reset";
    return session;
  }
  if (options_.closeAfterSurvey) platform::ShutdownSending(data.socket);
  ReadReleases(data.socket, session);
  return session;
}

void XseServer::SendSurvey(SocketHandle socket, const ChunkSource& survey, Session& session) const {
  for (std::span<const uint8_t> piece = survey(); !piece.empty(); piece = survey()) {
    while (!piece.empty()) {
      if (session.bytesSent >= options_.resetAfterBytes) return;
      const auto leftBeforeReset = static_cast<size_t>(
          std::min<uint64_t>(options_.resetAfterBytes - session.bytesSent, uint64_t{1} << 30));
      const size_t length = std::min({piece.size(), size_t{1} << 30, leftBeforeReset});
      const int32_t sent =
          platform::SendToSocket(socket, piece.data(), static_cast<int32_t>(length));
      if (sent <= 0) {
        session.error = "client stopped taking data";
        return;
      }
      session.bytesSent += static_cast<uint64_t>(sent);
      piece = piece.subspan(static_cast<size_t>(sent));
    }
  }
}

void XseServer::ReadReleases(SocketHandle socket, Session& session) const {
  // The acknowledge record (when it named a port) and then the request, both
  // with link code 2; the client closes the connection after them.
  for (;;) {
    std::array<uint8_t, 8> head{};
    std::string error;
    if (!ReadExactly(socket, head.data(), head.size(), error)) {
      if (session.requests.size() < 3) session.error = "no release: " + error;
      return;
    }
    const uint32_t bodySize = BigEndianWord(head.data() + 4);
    if (bodySize == kRequestBodySize) {
      elac::RequestFrame request;
      std::copy(head.begin(), head.end(), request.Bytes().begin());
      if (!ReadExactly(socket, request.Bytes().data() + 8, request.kSize - 8, session.error)) {
        return;
      }
      request.ToNetworkOrder();
      session.requests.push_back(request);
    } else if (bodySize == kAcknowledgeBodySize) {
      elac::AcknowledgeFrame record;
      std::copy(head.begin(), head.end(), record.Bytes().begin());
      if (!ReadExactly(socket, record.Bytes().data() + 8, record.kSize - 8, session.error)) {
        return;
      }
      record.ToNetworkOrder();
      session.acknowledgeReleased = true;
      session.releasedAcknowledgePort = record.DataPort();
    } else {
      session.error = "unexpected message of size " + std::to_string(bodySize);
      return;
    }
  }
}

}  // namespace xseserver
