// XseServer: the server side of the XSE data-stream set-up, on 127.0.0.1,
// for tests and `xse serve`. It takes the client's request on its port,
// answers with an acknowledge naming its data port, takes the three set-up
// frames there and then sends the survey bytes it is given; it records what
// the client sent, releases included. Every wait is bounded, so a client
// that goes quiet ends the session instead of hanging it.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacmessages.h"
#include "platform/tcpsocket.h"

namespace xseserver {

struct Options {
  uint16_t port = 0;      // the server's port; 0: any free one
  uint16_t dataPort = 0;  // 0: any free one
  // Bytes of the acknowledge sent (a shorter reply is no acknowledge).
  size_t acknowledgeLength = elac::AcknowledgeFrame::kFrameLength;
  // The port the acknowledge names; -1: the data port.
  int32_t announcedPort = -1;
  uint32_t waitMs = 10000;    // the longest any wait for the client lasts
  size_t chunkBytes = 65536;  // survey bytes per send, for a survey in memory
  // Ends the data with an orderly close of the sending side after the
  // survey; otherwise the connection stays open until the client releases.
  bool closeAfterSurvey = true;

  // Misbehaviour, for tests of what a client does with a hostile server.
  std::vector<uint8_t> acknowledgeBytes;  // sent instead of the acknowledge
  uint64_t resetAfterBytes = UINT64_MAX;  // reset the data connection then
  bool dataNeverAccepts = false;          // the data port's queue stays full
};

// The survey to send, a piece at a time: the next bytes to send, valid
// until the next call; empty at the end (or to stop sending).
using ChunkSource = std::function<std::span<const uint8_t>()>;

// What the client sent, in its own (host) order.
struct Session {
  std::vector<elac::RequestFrame> requests;  // the request and its release(s)
  std::vector<uint32_t> setupSequenceNumbers;
  std::vector<std::vector<uint8_t>> setupFrames;  // as received, network order
  bool acknowledgeReleased = false;
  uint16_t releasedAcknowledgePort = 0;
  uint64_t bytesSent = 0;
  std::string error;  // empty when the session ran to the client's release
};

class XseServer {
 public:
  explicit XseServer(Options options = {});
  ~XseServer();
  XseServer(const XseServer&) = delete;
  XseServer& operator=(const XseServer&) = delete;

  // Binds both ports; false with `error` set when that fails.
  bool Start(std::string& error);
  uint16_t port() const { return port_; }
  uint16_t dataPort() const { return dataPort_; }

  // Serves one client from its request to its release, sending `survey`.
  Session ServeOne(const ChunkSource& survey);
  // The same for a survey in memory, sent in pieces of chunkBytes.
  Session ServeOne(std::span<const uint8_t> survey);

 private:
  bool ReadExactly(platform::SocketHandle socket, uint8_t* into, size_t length,
                   std::string& error) const;
  bool AcceptFrom(platform::SocketHandle listener, platform::SocketHandle& accepted,
                  std::string& error) const;
  bool ReadRequest(platform::SocketHandle socket, Session& session) const;
  void SendSurvey(platform::SocketHandle socket, const ChunkSource& survey, Session& session) const;
  void ReadReleases(platform::SocketHandle socket, Session& session) const;

  Options options_;
  platform::SocketHandle listener_ = platform::kInvalidSocket;
  platform::SocketHandle dataListener_ = platform::kInvalidSocket;
  // Connections that fill the data port's queue when it never accepts.
  std::vector<platform::SocketHandle> queueFillers_;
  uint16_t port_ = 0;
  uint16_t dataPort_ = 0;
};

}  // namespace xseserver
