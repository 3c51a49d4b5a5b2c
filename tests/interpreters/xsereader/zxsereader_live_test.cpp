// The live path as a host drives it: ConnectTo on this thread, which keeps
// dispatching its messages, the run on the reader thread, StopReader from
// here. A stop takes effect within 200 ms whatever the server does, and
// tearing a connection down while phase 1 is under way is race-free.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <random>
#include <thread>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacconnection.h"
#include "interpreters/xsereader/zxsereader.h"
#include "platform/framework/wnd.h"
#include "platform/tcpsocket.h"
#include "tools/xseserver/xseserver.h"
#include "xsereadertestsupport.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Dispatches this thread's messages for `span`.
void PumpFor(Clock::duration span) {
  for (const auto end = Clock::now() + span; Clock::now() < end;) {
    platform::DispatchThreadMessages();
    std::this_thread::sleep_for(1ms);
  }
}

TEST(ZXSEReaderLiveTest, StopEndsTheRunWithin200MsWhateverTheServerDoes) {
  // A survey the server repeats for as long as the client takes it.
  const std::vector<uint8_t> frame = xsetest::PositionFrames(500);
  struct Case {
    const char* name;
    void (*set)(xseserver::Options&);
    bool flood;
  };
  const Case cases[] = {
      {"no reply", [](auto& o) { o.acknowledgeLength = 0; }, false},
      {"data port never accepts", [](auto& o) { o.dataNeverAccepts = true; }, false},
      {"silent after set-up", [](auto& o) { o.closeAfterSurvey = false; }, false},
      {"streaming as fast as it can", [](auto&) {}, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    xseserver::Options options;
    options.waitMs = 2000;
    c.set(options);
    xseserver::XseServer server(options);
    std::string error;
    ASSERT_TRUE(server.Start(error)) << error;
    std::atomic<bool> serving{true};
    std::thread serverThread([&] {
      server.ServeOne([&]() -> std::span<const uint8_t> {
        if (!c.flood || !serving) return {};
        return frame;
      });
    });
    {
      xsetest::EventRecorder recorder;
      ZXSEReader reader;
      reader.SetObserver(&recorder);
      ASSERT_NE(reader.ConnectTo(127, 0, 0, 1, static_cast<int16_t>(server.port()), 0), 0);
      PumpFor(300ms);  // into the state under test
      const auto stop = Clock::now();
      reader.StopReader();
      while (!reader.WaitReaderThread(1)) platform::DispatchThreadMessages();
      EXPECT_LT(Clock::now() - stop, 200ms);
      EXPECT_EQ(reader.JoinReaderThread(), -1);
      // A stopped run reports no outcome.
      EXPECT_EQ(recorder.events().find("fileAdded"), std::string::npos);
      EXPECT_EQ(recorder.events().find("failedReading"), std::string::npos);
    }
    serving = false;
    serverThread.join();
  }
}

// Phase 1 runs on the host's thread inside ConnectTo: a StopReader from
// another thread, early or late, ends it within 200 ms and is not undone
// when the reader thread starts. A stop that lands before ConnectTo raises
// the flag belongs to no run (a new run must not inherit the last one's
// stop), so the stopper counts from the call, with a margin for the few
// instructions before the flag goes up.
TEST(ZXSEReaderLiveTest, StopFromAnotherThreadDuringTheConnectIsNeverLost) {
  uint16_t closed = 0;
  platform::CloseSocket(platform::ListenOnLoopback(closed));
  // A listener that never accepts, its queue filled: connects hang there.
  uint16_t full = 0;
  const platform::SocketHandle listener = platform::ListenOnLoopback(full, 0);
  std::vector<platform::SocketHandle> queued;
  for (int i = 0; i < 4; ++i) {
    queued.push_back(platform::CreateIpv4Socket(platform::kStreamSocket));
    platform::ConnectIpv4Within(queued.back(), 0x0100007Fu, full, 50);
  }
  struct Case {
    const char* name;
    uint16_t port;
    Clock::duration stopAfter;
  };
  const Case cases[] = {
      {"refused port, stop in the first attempt", closed, 20ms},
      {"refused port, stop in a pause", closed, 100ms},
      {"full accept queue", full, 300ms},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ZXSEReader reader;
    Clock::time_point stop;
    std::atomic<bool> calling{false};
    std::thread stopper([&] {
      while (!calling) std::this_thread::sleep_for(1ms);
      std::this_thread::sleep_for(c.stopAfter);
      stop = Clock::now();
      reader.StopReader();
    });
    calling = true;
    const int32_t connected = reader.ConnectTo(127, 0, 0, 1, static_cast<int16_t>(c.port), 0);
    const auto ended = Clock::now();
    stopper.join();
    if (connected != 0) {
      while (!reader.WaitReaderThread(1)) platform::DispatchThreadMessages();
      EXPECT_EQ(reader.JoinReaderThread(), -1) << "the stop was undone";
    }
    EXPECT_LT(ended - stop, 200ms);
  }
  for (const platform::SocketHandle socket : queued) platform::CloseSocket(socket);
  platform::CloseSocket(listener);
}

// The connection dies on another thread at any moment around the arrival
// of the acknowledge, which this thread is dispatching.
TEST(ZXSEReaderLiveTest, TeardownDuringPhaseOneIsRaceFree) {
  std::mt19937 random(3);
  for (int round = 0; round < 20; ++round) {
    xseserver::Options options;
    options.waitMs = 100;
    xseserver::XseServer server(options);
    std::string error;
    ASSERT_TRUE(server.Start(error)) << error;
    std::thread serverThread([&] { server.ServeOne(std::span<const uint8_t>()); });
    auto connection = std::make_unique<ElacConnection>(nullptr);
    const uint8_t loopback[4] = {127, 0, 0, 1};
    ASSERT_TRUE(connection->Connect(0, static_cast<int16_t>(server.port()), loopback, "XSEReader"));
    const auto delay =
        std::chrono::microseconds(std::uniform_int_distribution<int>(0, 2000)(random));
    std::atomic<bool> gone{false};
    std::thread killer([&] {
      std::this_thread::sleep_for(delay);
      connection.reset();
      gone = true;
    });
    while (!gone) platform::DispatchThreadMessages();
    killer.join();
    PumpFor(2ms);  // whatever was still queued for the window goes nowhere
    serverThread.join();
  }
}

}  // namespace
