#include "interpreters/surveyreaderlib/elacreader/elacconnection.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "grouptestsupport.h"
#include "interpreters/surveyreaderlib/elacreader/livedecoder.h"
#include "interpreters/surveyreaderlib/elacreader/memorystream.h"
#include "quorsocket/sockettestsupport.h"
#include "support/recordfingerprint.h"
#include "tools/xseserver/xseserver.h"

namespace {

using namespace std::chrono_literals;
using ::testing::ElementsAre;
using ::testing::Pair;
using xsetest::Bytes;
using xsetest::SidescanFrame;

constexpr uint8_t kLoopback[4] = {127, 0, 0, 1};

// Frames of both byte orders from 52 bytes to over 1 MiB, with damage
// between them: a wrong end marker, an absurd size, a frame too short for
// its header, stray bytes. It ends with a sound frame.
Bytes LiveStream() {
  Bytes damaged = xsetest::HeadingFrame(std::endian::big, 7);
  damaged[damaged.size() - 1] ^= 0xFF;  // end marker
  return xsetest::Concat({
      xsetest::HeadingFrame(std::endian::big, 1),
      SidescanFrame(std::endian::little, 2, 600000),
      xsetest::PingFrame(std::endian::big, 3, 400),
      Bytes{1, 2, 3, 4},
      xsetest::HeadingFrame(std::endian::little, 4),
      damaged,
      SidescanFrame(std::endian::big, 5, 40000),
      xsetest::AbsurdFrame(std::endian::little, 8),
      xsetest::kHeaderless,
      Bytes(5000, 0x24),
      xsetest::PingFrame(std::endian::little, 6, 50),
      SidescanFrame(std::endian::big, 9, 140000),
      xsetest::HeadingFrame(std::endian::big, 10),
  });
}

// What a file of these bytes gives: ReadFrame to the end of the data.
std::vector<uint64_t> FileRecords(const Bytes& bytes) {
  xsetest::FingerprintTarget target;
  ElacReader reader(&target, ElacReader::kAllBeams);
  elac::MemoryStream stream(bytes);
  while (stream.good()) reader.ReadFrame(stream);
  return target.prints;
}

// Feeds `bytes` to `decoder` in reads whose sizes `next` picks, decoding
// after each; returns the bytes the decodes consumed.
size_t Feed(elac::LiveDecoder& decoder, ElacReader& reader, const Bytes& bytes,
            const std::function<size_t()>& next) {
  size_t consumed = 0;
  for (size_t at = 0; at < bytes.size();) {
    const std::span<uint8_t> room = decoder.Room();
    EXPECT_FALSE(room.empty()) << "a full buffer with nothing to decode at " << at;
    if (room.empty()) break;
    const size_t count = std::min({next(), room.size(), bytes.size() - at});
    std::copy_n(bytes.begin() + static_cast<ptrdiff_t>(at), count, room.begin());
    decoder.Commit(count);
    at += count;
    consumed += decoder.Decode(reader);
  }
  return consumed;
}

TEST(LiveDecoderTest, AnyCutGivesTheRecordsOfTheFileEachFrameOnceInOrder) {
  const Bytes stream = LiveStream();
  const std::vector<uint64_t> expected = FileRecords(stream);
  ASSERT_GT(expected.size(), 10u);
  struct Cut {
    const char* name;
    std::function<size_t()> next;
  };
  std::mt19937 random(11);
  const auto upTo = [&random](size_t most) {
    return [&random, most] { return std::uniform_int_distribution<size_t>(1, most)(random); };
  };
  const Cut cuts[] = {
      {"byte by byte", [] { return size_t{1}; }}, {"odd words", [] { return size_t{4093}; }},
      {"64 KiB", [] { return size_t{65536}; }},   {"random to 100 B", upTo(100)},
      {"random to 64 KiB", upTo(65536)},          {"random to 1 MiB", upTo(1u << 20)},
      {"whole", [] { return size_t{1} << 30; }},
  };
  for (const Cut& cut : cuts) {
    SCOPED_TRACE(cut.name);
    xsetest::FingerprintTarget target;
    ElacReader reader(&target, ElacReader::kAllBeams);
    elac::LiveDecoder decoder;
    // Everything is consumed, the last end marker included.
    EXPECT_EQ(Feed(decoder, reader, stream, cut.next), stream.size());
    EXPECT_EQ(target.prints, expected);
    EXPECT_EQ(decoder.held(), 0u);
  }
}

TEST(LiveDecoderTest, GrowsOnlyForTheFrameAtItsHeadAndThenAllocatesNoMore) {
  const Bytes big = SidescanFrame(std::endian::big, 1, 600000);
  elac::LiveDecoder decoder;
  xsetest::FingerprintTarget target;
  ElacReader reader(&target, ElacReader::kAllBeams);
  for (int round = 0; round < 3; ++round) {
    Feed(decoder, reader, big, [] { return SIZE_MAX; });
    EXPECT_EQ(target.prints.size(), static_cast<size_t>(round + 1) * 2);  // start time, ping
    EXPECT_GE(decoder.capacity(), big.size());
    EXPECT_LE(decoder.capacity(), 2 * big.size());
  }
  // A full buffer whose head frame fits is not grown: it is decoded first.
  elac::LiveDecoder small;
  const Bytes heading = xsetest::HeadingFrame(std::endian::big, 1);
  while (!small.Room().empty()) {
    const std::span<uint8_t> room = small.Room();
    const size_t count = std::min(room.size(), heading.size());
    std::copy_n(heading.begin(), count, room.begin());
    small.Commit(count);
  }
  EXPECT_EQ(small.capacity(), elac::LiveDecoder::kInitialCapacity);
}

// The live connection against the project's own server on 127.0.0.1.
class ElacConnectionTest : public sockettest::SocketTest {
 protected:
  // Serves `survey` and reads it live: phase 1 here; phase 2 and the reading
  // on a reader thread, as in a run, until receiveData returns false. The
  // threads are joined when this returns, whatever failed.
  void RunLive(const xseserver::Options& options, const Bytes& survey = {}) {
    xseserver::XseServer server(options);
    std::string error;
    ASSERT_TRUE(server.Start(error)) << error;
    dataPort_ = server.dataPort();
    std::jthread serving([&] { session_ = server.ServeOne(survey); });
    auto connection = std::make_unique<ElacConnection>(&target_);
    if (allocate_ != nullptr) connection->SetDecoderAllocator(allocate_);
    ASSERT_TRUE(
        connection->Connect(0, static_cast<int16_t>(server.port()), kLoopback, "XSEReader"));
    std::atomic<bool> done{false};
    std::jthread reader([&] {
      const auto end = std::chrono::steady_clock::now() + 5s;
      while (!connection->Open("") && !connection->Failed() &&
             std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(1ms);
      int32_t processed = 0;
      while (connection->receiveData(processed, 0) && std::chrono::steady_clock::now() < end)
        processed_ += processed;
      endedWithData_ = connection->EndedWithData();
      failed_ = connection->Failed();
      if (const char* text = connection->FailureText()) failure_ = text;
      connection.reset();
      done = true;
    });
    // The acknowledge arrives through this thread's messages.
    const auto end = std::chrono::steady_clock::now() + 5s;
    while (!done && std::chrono::steady_clock::now() < end) {
      platform::DispatchThreadMessages();
      std::this_thread::sleep_for(1ms);
    }
  }

  xsetest::RecordingTarget target_;
  xseserver::Session session_;
  uint16_t dataPort_ = 0;
  int64_t processed_ = 0;
  bool endedWithData_ = false;
  bool failed_ = false;
  std::string failure_;
  elac::LiveDecoder::Allocate allocate_ = nullptr;
};

TEST_F(ElacConnectionTest, LiveSurveyIsDecodedOnceInOrderAndTheServerReleased) {
  Bytes survey;
  for (uint32_t i = 0; i < 40; ++i) {
    const auto order = i % 2 == 0 ? std::endian::big : std::endian::little;
    survey = xsetest::Concat({survey, xsetest::HeadingFrame(order, i)});
  }
  xseserver::Options options;
  options.chunkBytes = 30;  // frames arrive in pieces and several per read
  RunLive(options, survey);

  ASSERT_EQ(target_.Count<quor::GyroRec>(), 40u);
  for (size_t i = 0; i < 40; ++i)
    EXPECT_EQ(target_.Nth<quor::GyroRec>(i)->time.tv_usec, static_cast<int32_t>(i));
  // Every byte counted once, and the server's end ended the run well.
  EXPECT_EQ(processed_, static_cast<int64_t>(survey.size()));
  EXPECT_TRUE(endedWithData_);
  EXPECT_FALSE(failed_);

  EXPECT_EQ(session_.error, "");
  // Link code and sequence number: asked, released at the acknowledge and at the end.
  std::vector<std::pair<uint32_t, uint32_t>> links;
  for (const auto& request : session_.requests)
    links.emplace_back(request.LinkCode(), request.SequenceNumber());
  ASSERT_THAT(links, ElementsAre(Pair(1u, 1u), Pair(2u, 1u), Pair(2u, 1u)));
  const elac::RequestFrame& request = session_.requests[0];
  EXPECT_EQ(request.Port(), 3400);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(request.Bytes().data() + 78)), "XSEReader");
  EXPECT_THAT(session_.setupSequenceNumbers, ElementsAre(2u, 3u, 4u));
  // The acknowledge goes back at release only for a port above 0 as a
  // signed 16-bit value.
  EXPECT_EQ(session_.acknowledgeReleased, static_cast<int16_t>(dataPort_) > 0);
  EXPECT_EQ(CountLinesEndingWith("OnReceive(): New requested port " +
                                 std::to_string(static_cast<int16_t>(dataPort_))),
            1u);
}

TEST_F(ElacConnectionTest, ShortReplyToTheRequestEndsTheRun) {
  xseserver::Options options;
  options.acknowledgeLength = 81;
  options.waitMs = 200;
  RunLive(options);
  EXPECT_TRUE(failed_);
  EXPECT_FALSE(endedWithData_);
  EXPECT_EQ(
      CountLinesEndingWith("OnReceive(): Bad request acknowledge from server!? 82 bytes expected"),
      1u);
  EXPECT_EQ(CountLinesEndingWith("Open(): no valid acknowledge from server - giving up"), 1u);
}

TEST_F(ElacConnectionTest, RefusedDataPortTracesTheRefusalNotALaterError) {
  xseserver::Options options;
  uint16_t closed = 0;
  platform::CloseSocket(platform::ListenOnLoopback(closed));
  options.announcedPort = closed;
  options.waitMs = 300;
  RunLive(options);
  EXPECT_TRUE(failed_);
  // Each attempt's refusal, and the refusal again when the connection gives
  // up: the error of the connect, not of a call made after it.
  EXPECT_EQ(CountLinesEndingWith("NTCreateSocketAndConnectToServer(): socket error 10061"), 3u);
  EXPECT_EQ(CountLinesEndingWith("The attempt to connect was forcefully rejected. "), 4u);
  EXPECT_EQ(CountLinesEndingWith("Couldn't connect finally to server port " +
                                 std::to_string(static_cast<int16_t>(closed)) + "!?"),
            1u);
}

// Waiting for room that never comes would stall the run for good.
TEST_F(ElacConnectionTest, AFailedBufferGrowthEndsTheRunWithItsReason) {
  allocate_ = [](size_t) -> uint8_t* { return nullptr; };
  RunLive(xseserver::Options{}, SidescanFrame(std::endian::big, 1, 600000));
  EXPECT_TRUE(failed_);
  EXPECT_EQ(failure_, "out of memory for a frame");
  EXPECT_EQ(CountLinesEndingWith("no memory for a frame of " +
                                 std::to_string(SidescanFrame(std::endian::big, 1, 600000).size()) +
                                 " bytes - giving up"),
            1u);
}

}  // namespace
