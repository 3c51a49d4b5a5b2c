#include "interpreters/xsereader/zxsereader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"

namespace {

using ::testing::ElementsAre;
using xsetest::EventRecorder;
using Clock = std::chrono::steady_clock;

// A source that hands out a fixed list of processed counts. The log is
// atomic: the reader thread writes it while a test reads it.
struct SourceLog {
  std::atomic<int> opens{0};
  std::atomic<int> receives{0};
  std::atomic<bool> destroyed{false};
};

class ScriptedSource final : public IElacContainer {
 public:
  ScriptedSource(SourceLog& log, std::vector<int32_t> counts, uint32_t size)
      : log_(log), counts_(std::move(counts)), size_(size) {}
  ~ScriptedSource() override { log_.destroyed = true; }

  // Not open at first: Open succeeds on attempt `attempt` (0: never).
  void OpensOnAttempt(int attempt) {
    open_ = false;
    opensOn_ = attempt;
  }
  std::function<void(int receive)> onReceive;

  bool Open(const char* /*name*/) override {
    const int attempt = ++log_.opens;
    open_ = opensOn_ != 0 && attempt >= opensOn_;
    return open_;
  }
  bool receiveData(int32_t& processed, int32_t /*reserved*/) override {
    const int receive = ++log_.receives;
    if (next_ >= counts_.size()) {
      processed = 0;
      return false;
    }
    processed = counts_[next_++];
    if (onReceive) onReceive(receive);
    return true;
  }
  void Close() override {}
  uint32_t GetSize() override { return size_; }
  bool IsOpen() override { return open_; }

 private:
  SourceLog& log_;
  std::vector<int32_t> counts_;
  uint32_t size_;
  bool open_ = true;
  int opensOn_ = 1;
  size_t next_ = 0;
};

class RunReaderTest : public ::testing::Test {
 protected:
  RunReaderTest() {
    reader_.SetObserver(&recorder_);
    reader_.running = 1;
  }
  ScriptedSource& Prepare(std::vector<int32_t> counts, uint32_t size) {
    auto source = std::make_unique<ScriptedSource>(log_, std::move(counts), size);
    ScriptedSource& kept = *source;
    reader_.SetContainer(std::move(source));
    return kept;
  }

  SourceLog log_;
  EventRecorder recorder_;
  ZXSEReader reader_;
};

TEST_F(RunReaderTest, ProgressIsReportedWhenThePercentageRisesThenTheFileIsAdded) {
  Prepare({5, 5, 300, 10, 680}, 1000);
  reader_.currentFileName = "a.xse";
  EXPECT_EQ(reader_.RunReader(), 1);
  EXPECT_THAT(recorder_.events(),
              ElementsAre("progress 0 0 1000", "progress 1 10 1000", "progress 31 310 1000",
                          "progress 32 320 1000", "progress 100 1000 1000",
                          "progress 100 1000 1000", "fileAdded a.xse"));
  EXPECT_TRUE(log_.destroyed);
  EXPECT_FALSE(reader_.HasContainer());
}

TEST_F(RunReaderTest, RunWithoutFileNameReportsFailedReading) {
  Prepare({10}, 0);
  EXPECT_EQ(reader_.RunReader(), 1);
  EXPECT_THAT(recorder_.events(),
              ElementsAre("progress 0 0 0", "progress 100 10 0", "failedReading"));
}

TEST_F(RunReaderTest, StopEndsTheLoopAfterTheCurrentReadWithoutOutcome) {
  ScriptedSource& source = Prepare({100, 100, 100, 100}, 1000);
  source.onReceive = [this](int receive) {
    if (receive == 2) reader_.StopReader();
  };
  reader_.currentFileName = "a.xse";
  EXPECT_EQ(reader_.RunReader(), -1);
  EXPECT_EQ(log_.receives, 2);
  EXPECT_THAT(recorder_.events(), ElementsAre("progress 0 0 1000", "progress 10 100 1000",
                                              "progress 20 200 1000", "progress 100 200 1000"));
  EXPECT_TRUE(log_.destroyed);
}

TEST_F(RunReaderTest, RunningFlagOffFromTheStartStillReportsBothEnds) {
  Prepare({100}, 100);
  reader_.running = 0;
  reader_.currentFileName = "a.xse";
  EXPECT_EQ(reader_.RunReader(), -1);
  EXPECT_EQ(log_.receives, 0);
  EXPECT_THAT(recorder_.events(), ElementsAre("progress 0 0 100", "progress 100 0 100"));
}

TEST_F(RunReaderTest, NoSourceMeansNothingToRun) {
  EXPECT_EQ(reader_.RunReader(), 0);
  EXPECT_THAT(recorder_.events(), ElementsAre());
}

TEST_F(RunReaderTest, CountsBeyondTheProgressRangeStopAtItsLimit) {
  Prepare({INT32_MAX, INT32_MAX, 5}, UINT32_MAX);
  reader_.currentFileName = "big.xse";
  EXPECT_EQ(reader_.RunReader(), 1);
  EXPECT_THAT(recorder_.events(),
              ElementsAre("progress 0 0 2147483647", "progress 100 2147483647 2147483647",
                          "progress 100 2147483647 2147483647", "fileAdded big.xse"));
}

TEST_F(RunReaderTest, SourceThatIsNotOpenIsOpenedFirst) {
  ScriptedSource& source = Prepare({10}, 10);
  source.OpensOnAttempt(3);
  reader_.currentFileName = "late.xse";
  EXPECT_EQ(reader_.RunReader(), 1);
  EXPECT_EQ(log_.opens, 3);
  EXPECT_THAT(recorder_.outcomes(), ElementsAre("fileAdded late.xse"));
}

TEST_F(RunReaderTest, WaitForASourceThatNeverOpensEndsWithTheStopAndPauses) {
  ScriptedSource& source = Prepare({10}, 10);
  source.OpensOnAttempt(0);
  std::atomic<int32_t> result{0};
  std::thread runner([&] { result = reader_.RunReader(); });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const int attempts = log_.opens;
  const auto stopped = Clock::now();
  reader_.StopReader();
  runner.join();
  const auto stopTook = Clock::now() - stopped;

  EXPECT_EQ(result, -1);
  EXPECT_LT(stopTook, std::chrono::milliseconds(500));
  // One attempt per pause, give or take the scheduler: not a spin.
  EXPECT_GE(attempts, 2);
  EXPECT_LE(attempts, 200 / static_cast<int>(ZXSEReader::kOpenRetryPauseMs) + 5);
  EXPECT_EQ(log_.receives, 0);
  EXPECT_THAT(recorder_.events(), ElementsAre("progress 0 0 10", "progress 100 0 10"));
  EXPECT_TRUE(log_.destroyed);
}

TEST_F(RunReaderTest, ResetDropsTheSourceAndMayBeRepeated) {
  Prepare({}, 0);
  reader_.Reset();
  EXPECT_TRUE(log_.destroyed);
  EXPECT_FALSE(reader_.HasContainer());
  reader_.Reset();
}

TEST(ZXSEReaderTest, StartTimeComesFromFrameStartsUntilTheFirstPosition) {
  ZXSEReader reader;
  reader.HandleStartTime({1000000000, 123456});
  EXPECT_EQ(reader.startTimeSec, 1000000000);
  EXPECT_EQ(reader.startTimeMs, 123);
  EXPECT_EQ(reader.startTimeSet, 0);
  reader.HandleStartTime({1000000001, 999});
  EXPECT_EQ(reader.startTimeSec, 1000000001);
  EXPECT_EQ(reader.startTimeMs, 0);

  quor::NavigationRec position;
  position.time = {1000000005, 999};
  reader.HandlePosition(position);
  EXPECT_EQ(reader.startTimeSec, 1000000005);
  EXPECT_EQ(reader.startTimeMs, 0);
  EXPECT_EQ(reader.startTimeSet, 1);

  reader.HandleStartTime({5, 5000});
  position.time = {7, 7000};
  reader.HandlePosition(position);
  EXPECT_EQ(reader.startTimeSec, 1000000005);
  EXPECT_EQ(reader.startTimeMs, 0);
}

TEST(ZXSEReaderTest, StartTimeBefore1970KeepsItsSign) {
  ZXSEReader reader;
  quor::NavigationRec position;
  position.time = {-86400, 500000};
  reader.HandlePosition(position);
  EXPECT_EQ(reader.startTimeSec, -86400);
  EXPECT_EQ(reader.startTimeMs, 500);
}

struct ConvertCase {
  int64_t startSec;
  int32_t startMs;
  int32_t recordSec;
  int32_t recordUsec;
  int32_t milliseconds;
};

class ConvertTimeTest : public ::testing::TestWithParam<ConvertCase> {};

TEST_P(ConvertTimeTest, MillisecondsSinceTheStartTime) {
  ZXSEReader reader;
  reader.startTimeSec = GetParam().startSec;
  reader.startTimeMs = GetParam().startMs;
  quor::SensorRec record;
  record.time = {GetParam().recordSec, GetParam().recordUsec};
  EXPECT_EQ(reader.ConvertTime(record), GetParam().milliseconds);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ConvertTimeTest,
    ::testing::Values(ConvertCase{1000000005, 0, 1000000007, 250000, 2250},
                      ConvertCase{1000000005, 500, 1000000005 - 10, 0, -10500},
                      ConvertCase{0, 0, 0, 999, 0},            // truncated toward zero
                      ConvertCase{0, 0, 0, -1999, -1},         // toward zero for negatives too
                      ConvertCase{0, 0, INT32_MAX, 0, -1000},  // wraps in 32 bits
                      // Only the low 32 bits of the start seconds count.
                      ConvertCase{(int64_t{1} << 32) + 10, 0, 12, 0, 2000}));

TEST(ZXSEReaderTest, HeadingsGoByHeadingSource) {
  ZXSEReader reader;
  EXPECT_EQ(reader.primaryHeading(), -1.0);
  EXPECT_EQ(reader.bathymetryHeading(), -1.0);
  quor::GyroRec gyro;
  gyro.sensorIndex = 1;
  gyro.heading = 271.5;
  reader.HandleGyro(gyro);
  EXPECT_EQ(reader.bathymetryHeading(), 271.5);
  EXPECT_EQ(reader.primaryHeading(), -1.0);
  for (const int32_t index : {0, 2}) {
    gyro.sensorIndex = index;
    gyro.heading = 10.0 + index;
    reader.HandleGyro(gyro);
    EXPECT_EQ(reader.primaryHeading(), 10.0 + index);
    EXPECT_EQ(reader.bathymetryHeading(), 271.5);
  }
}

TEST(ZXSEReaderTest, OtherRecordsChangeNothing) {
  ZXSEReader reader;
  reader.startTimeSec = 42;
  quor::MultibeamRec multibeam;
  multibeam.time = {1, 1000};
  reader.HandleMultibeam(multibeam);
  reader.HandleParameter(quor::ParameterRec{});
  reader.HandleMotion(quor::MotionRec{});
  reader.HandleSidescan(quor::SidescanRec{});
  reader.HandleGeodesy();
  EXPECT_EQ(reader.startTimeSec, 42);
  EXPECT_EQ(reader.startTimeMs, 0);
  EXPECT_EQ(reader.startTimeSet, 0);
  EXPECT_EQ(reader.primaryHeading(), -1.0);
  EXPECT_EQ(reader.bathymetryHeading(), -1.0);
}

TEST(ZXSEReaderTest, StopReaderOnlyClearsTheRunningFlag) {
  ZXSEReader reader(7);
  EXPECT_EQ(reader.hostValue(), 7);
  reader.running = 1;
  EXPECT_EQ(reader.StopReader(), 1);
  EXPECT_EQ(reader.running, 0);
  EXPECT_EQ(reader.ConnectTo(192, 168, 1, 10, 5000, 0), 0);
  EXPECT_FALSE(reader.HasContainer());
}

TEST(XSEPropertiesTest, SectionComesBeforeTheCommonProperties) {
  ZXSEReader::XSEProperties properties;
  properties.values = {3, 1, 4, 1, 5};
  ZPropList list;
  properties.GetProperties(list);
  ASSERT_EQ(list.entries().size(), 6u);
  EXPECT_EQ(list.entries()[0], (ZPropList::Entry{"XSE", -1}));
  EXPECT_EQ(list.entries()[1], (ZPropList::Entry{"Parameter 1", 3}));
  EXPECT_TRUE(properties.PropertyHostSlot1(1, 2));
  EXPECT_TRUE(properties.PropertyHostSlot4(1));
  EXPECT_TRUE(properties.IsPropertyEnabled(nullptr));  // the host's answer
}

TEST(XSEPropertiesTest, SetupPropertiesCopiesTheFiveValuesAndIgnoresNull) {
  ZXSEReader reader;
  reader.parameterBlock = {9, 9, 9, 9, 9};
  reader.SetupProperties(nullptr);
  EXPECT_THAT(reader.parameterBlock, ElementsAre(9, 9, 9, 9, 9));
  ZXSEReader::XSEProperties properties;
  properties.values = {1, -2, 3, -4, 5};
  ZXSEReader::XSEProperties copy(properties);
  ZXSEReader::XSEProperties assigned;
  assigned = std::move(copy);
  reader.SetupProperties(&assigned);
  EXPECT_THAT(reader.parameterBlock, ElementsAre(1, -2, 3, -4, 5));
}

}  // namespace
