#include "interpreters/surveyreaderlib/elacreader/elacconnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "grouptestsupport.h"
#include "quorsocket/sockettestsupport.h"
#include "support/recordingtarget.h"
#include "tools/xseserver/xseserver.h"

namespace {

using namespace std::chrono_literals;
using xsetest::Bytes;

constexpr uint8_t kLoopback[4] = {127, 0, 0, 1};

// Dispatches the calling thread's messages until `done` holds; at most five
// seconds.
bool PumpUntil(const std::function<bool()>& done) {
  const auto end = std::chrono::steady_clock::now() + 5s;
  while (std::chrono::steady_clock::now() < end) {
    platform::DispatchThreadMessages();
    if (done()) return true;
    std::this_thread::sleep_for(1ms);
  }
  return false;
}

Bytes Survey(int frames) {
  Bytes survey;
  for (int i = 0; i < frames; ++i) {
    const Bytes frame = xsetest::WriteFrame(true, elac::kNavigationFrame, [i](auto& writer) {
      xsewriter::PutHeadingGroup(writer, 0.01 * i);
    });
    survey.insert(survey.end(), frame.begin(), frame.end());
  }
  return survey;
}

class ElacConnectionTest : public sockettest::SocketTest {
 protected:
  // `lowDataPort`: a data port below 32768, which the client's release
  // check (a signed 16-bit port above 0) lets through; free ports the
  // system picks are usually above it.
  void StartServer(xseserver::Options options, Bytes survey, bool lowDataPort = false) {
    std::string error;
    bool started = false;
    for (int attempt = 0; attempt < 50 && !started; ++attempt) {
      if (lowDataPort)
        options.dataPort = static_cast<uint16_t>(20000 + (::getpid() + attempt * 97) % 12000);
      server_ = std::make_unique<xseserver::XseServer>(options);
      started = server_->Start(error);
      if (!lowDataPort) break;
    }
    ASSERT_TRUE(started) << error;
    survey_ = std::move(survey);
    serverThread_ = std::thread([this] { session_ = server_->ServeOne(survey_); });
  }
  void TearDown() override {
    if (serverThread_.joinable()) serverThread_.join();
    SocketTest::TearDown();
  }

  // Phase 1 here, phase 2 and the reading on a reader thread, as in a run:
  // Open until it succeeds, then receiveData until `frames` headings came,
  // then once more without data, then after Close; the connection ends on
  // the reader thread.
  void RunLive(int frames) {
    auto connection = std::make_unique<ElacConnection>(&target_);
    ASSERT_TRUE(
        connection->Connect(0, static_cast<int16_t>(server_->port()), kLoopback, "XSEReader"));
    std::atomic<bool> opened{false};
    std::thread reader([&] {
      const auto end = std::chrono::steady_clock::now() + 5s;
      while (!connection->Open("") && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(1ms);
      }
      opened = true;
      int32_t processed = 0;
      while (target_.Count<quor::GyroRec>() < static_cast<size_t>(frames) &&
             std::chrono::steady_clock::now() < end) {
        ASSERT_TRUE(connection->receiveData(processed, 0));
      }
      idleResult_ = connection->receiveData(processed, 0);
      idleProcessed_ = processed;
      connection->Close();
      closedResult_ = connection->receiveData(processed, 0);
      closedProcessed_ = processed;
      connection.reset();
    });
    // The acknowledge arrives through this thread's messages.
    EXPECT_TRUE(PumpUntil([&] { return opened.load(); }));
    reader.join();
    serverThread_.join();
  }

  xsetest::RecordingTarget target_;
  std::unique_ptr<xseserver::XseServer> server_;
  Bytes survey_;
  std::thread serverThread_;
  xseserver::Session session_;
  bool idleResult_ = false;
  int32_t idleProcessed_ = -1;
  bool closedResult_ = true;
  int32_t closedProcessed_ = -1;
};

TEST_F(ElacConnectionTest, LiveSurveyIsDecodedOnceInOrderAndTheServerReleased) {
  xseserver::Options options;
  options.chunkBytes = 30;  // frames arrive in pieces and several per read
  StartServer(options, Survey(40), true);
  RunLive(40);

  ASSERT_EQ(target_.Count<quor::GyroRec>(), 40u);
  for (size_t i = 0; i < 40; ++i) {
    EXPECT_NEAR(target_.Nth<quor::GyroRec>(i)->heading, 0.01 * static_cast<double>(i) * 57.29578,
                1e-6);
  }
  EXPECT_TRUE(idleResult_);
  EXPECT_EQ(idleProcessed_, 0);
  EXPECT_FALSE(closedResult_);
  EXPECT_EQ(closedProcessed_, 0);

  EXPECT_EQ(session_.error, "");
  ASSERT_EQ(session_.requests.size(), 4u);  // asked, released twice at Close, and at the end
  const elac::RequestFrame& request = session_.requests[0];
  EXPECT_EQ(request.SequenceNumber(), 1u);
  EXPECT_EQ(request.Port(), 3400);
  EXPECT_EQ(request.LinkCode(), 1u);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(request.Bytes().data() + 78)), "XSEReader");
  for (size_t i = 1; i < session_.requests.size(); ++i) {
    EXPECT_EQ(session_.requests[i].LinkCode(), 2u);
    EXPECT_EQ(session_.requests[i].SequenceNumber(), 1u);
  }
  EXPECT_THAT(session_.setupSequenceNumbers, testing::ElementsAre(2u, 3u, 4u));
  EXPECT_TRUE(session_.acknowledgeReleased);
  EXPECT_EQ(session_.releasedAcknowledgePort, server_->dataPort());
  EXPECT_EQ(CountLinesEndingWith("OnReceive(): New requested port " +
                                 std::to_string(static_cast<int16_t>(server_->dataPort()))),
            1u);
}

TEST_F(ElacConnectionTest, TwoFramesInOneReadAreDecodedInOnePass) {
  StartServer({}, Survey(2));
  RunLive(2);
  ASSERT_EQ(target_.Count<quor::GyroRec>(), 2u);
  // The acknowledge goes back at release only for a port above 0 as a
  // signed 16-bit value.
  EXPECT_EQ(session_.acknowledgeReleased, static_cast<int16_t>(server_->dataPort()) > 0);
  EXPECT_EQ(CountLinesEndingWith("receiveData(): ok, 52 bytes processed - remain 4"), 1u);
  EXPECT_EQ(
      CountLinesEndingWith("receiveData(): ok, all 104 buffered bytes processed - buffer reset"),
      1u);
}

TEST_F(ElacConnectionTest, ShortReplyToTheRequestBlocksTheSecondPhase) {
  xseserver::Options options;
  options.acknowledgeLength = 81;
  options.waitMs = 200;
  StartServer(options, {});
  ElacConnection connection(&target_);
  ASSERT_TRUE(connection.Connect(0, static_cast<int16_t>(server_->port()), kLoopback, "XSEReader"));
  ASSERT_TRUE(PumpUntil([&] { return connection.state() == ElacConnection::CONNECTED; }));
  EXPECT_FALSE(connection.Open(""));
  EXPECT_EQ(
      CountLinesEndingWith("OnReceive(): Bad request acknowledge from server!? 82 bytes expected"),
      1u);
  EXPECT_EQ(CountLinesEndingWith("Open suspended due to already active window handle."), 1u);
}

TEST(ElacConnectionAloneTest, OpenWithoutConnectFailsCleanly) {
  ElacConnection connection;
  EXPECT_FALSE(connection.Open(""));
  int32_t processed = -1;
  EXPECT_FALSE(connection.receiveData(processed, 0));
  EXPECT_EQ(processed, 0);
  EXPECT_FALSE(connection.IsOpen());
  EXPECT_EQ(connection.GetSize(), 0u);
}

}  // namespace
