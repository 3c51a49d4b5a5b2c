// Ctrl-C and SIGTERM end `xse dump --connect` within 200 ms whatever the run
// is doing: one moment for each way the tool passes the stop on, inside the
// connect (a full accept queue), in the run (reading the stream) and past
// it (writing to an output nobody reads). That the reader's stop takes
// effect at every step of the exchange (a refused port, the acknowledge,
// the data port) is checked in-process with the reader.
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "platform/tcpsocket.h"
#include "support/runtool.h"
#include "tools/xseserver/xseserver.h"

namespace {

using namespace std::chrono_literals;
using namespace xsetest;

// Whether process `pid` has its own handler for `signal`: from then on a
// signal is the tool's to answer, not the default end.
bool Catches(uint32_t pid, int signal) {
  std::ifstream status("/proc/" + std::to_string(pid) + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("SigCgt:", 0) == 0)
      return (std::stoull(line.substr(7), nullptr, 16) >> (signal - 1) & 1u) != 0;
  }
  return false;
}

template <typename Condition>
bool WaitFor(Condition condition) {
  const auto end = std::chrono::steady_clock::now() + 20s;
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= end) return false;
    std::this_thread::sleep_for(2ms);
  }
  return true;
}

// A port whose accept queue is full: connects to it wait for ever.
struct FullQueue {
  FullQueue() {
    listener = platform::ListenOnLoopback(port, 0);
    for (int i = 0; i < 8; ++i) {
      const platform::SocketHandle filler = platform::CreateIpv4Socket(platform::kStreamSocket);
      fillers.push_back(filler);
      if (!platform::ConnectIpv4Within(filler, 0x0100007F, port, 100)) break;
    }
  }
  ~FullQueue() {
    for (const auto socket : fillers) platform::CloseSocket(socket);
    platform::CloseSocket(listener);
  }
  uint16_t port = 0;
  platform::SocketHandle listener;
  std::vector<platform::SocketHandle> fillers;
};

// A server in this process, serving `survey` over and over, which counts
// the pieces it has sent.
struct Server {
  explicit Server(xseserver::Options options, bool pacedSends = false)
      : server(options), survey(PositionFrames(300)), paced(pacedSends) {
    std::string error;
    started = server.Start(error);
    serving = std::thread([this] {
      server.ServeOne([this] {
        if (pieces.load() > 20000) return std::span<const uint8_t>();
        if (paced) std::this_thread::sleep_for(20ms);
        ++pieces;
        return std::span<const uint8_t>(survey);
      });
    });
  }
  ~Server() { serving.join(); }
  xseserver::XseServer server;
  std::vector<uint8_t> survey;
  const bool paced;
  bool started = false;
  std::atomic<int> pieces{0};
  std::thread serving;
};

TEST(XseStop, EveryMomentOfALiveRunEndsAtOnceWithTheSignalsStatus) {
  using Ready = std::function<bool()>;
  struct Moment {
    const char* name;
    // Makes what the run talks to; returns the port and when it is reached.
    std::function<std::pair<uint16_t, Ready>(std::shared_ptr<void>&)> setUp;
  };
  const Moment moments[] = {
      {"full accept queue",
       [&](auto& keep) {
         auto queue = std::make_shared<FullQueue>();
         keep = queue;
         return std::pair(queue->port, Ready([] { return true; }));
       }},
      {"mid-stream",
       [&](auto& keep) {
         auto server = std::make_shared<Server>(xseserver::Options{}, true);
         keep = server;
         return std::pair(server->server.port(), Ready([server] { return server->pieces > 5; }));
       }},
      {"blocked stdout",
       [&](auto& keep) {
         auto server = std::make_shared<Server>(xseserver::Options{});
         keep = server;
         // The pipe nobody reads is full once the server can send no more.
         return std::pair(server->server.port(), Ready([server] {
                            const int before = server->pieces;
                            std::this_thread::sleep_for(200ms);
                            return before > 20 && server->pieces == before;
                          }));
       }},
  };
  for (const auto& [signal, status] : {std::pair(SIGINT, 130), std::pair(SIGTERM, 143)}) {
    for (const Moment& moment : moments) {
      SCOPED_TRACE(std::string(moment.name) + (signal == SIGINT ? ", Ctrl-C" : ", SIGTERM"));
      std::shared_ptr<void> keep;
      const auto [port, ready] = moment.setUp(keep);
      ChildOptions piped;
      piped.outputToPipe = true;  // never read
      ChildProcess dump(XSE_XSE_TOOL, {"dump", "--connect", "127.0.0.1:" + std::to_string(port)},
                        piped);
      ASSERT_TRUE(WaitFor([&] { return Catches(dump.Id(), signal); }));
      ASSERT_TRUE(WaitFor(ready));
      const auto sent = std::chrono::steady_clock::now();
      ASSERT_EQ(::kill(static_cast<pid_t>(dump.Id()), signal), 0);
      const ToolResult result = dump.Wait(5s);
      const auto took = std::chrono::steady_clock::now() - sent;
      EXPECT_EQ(result.status, status) << result.err;
      EXPECT_LT(took, 200ms);
    }
  }
}

}  // namespace
