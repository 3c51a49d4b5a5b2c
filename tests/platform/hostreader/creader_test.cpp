#include "platform/hostreader/creader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using ::testing::ElementsAre;

struct RecalcCase {
  int32_t done;
  int32_t total;
  int32_t percent;
};

class RecalcProgressTest : public ::testing::TestWithParam<RecalcCase> {};

TEST_P(RecalcProgressTest, PercentIsTruncatedAndHeldWithinRange) {
  CReader::ProgressStat stat;
  stat.done = GetParam().done;
  stat.total = GetParam().total;
  stat.RecalcProgress();
  EXPECT_EQ(stat.percent, GetParam().percent);
}

INSTANTIATE_TEST_SUITE_P(Cases, RecalcProgressTest,
                         ::testing::Values(RecalcCase{0, 0, 0}, RecalcCase{50, 0, 0},
                                           RecalcCase{50, -10, 0}, RecalcCase{0, 100, 0},
                                           RecalcCase{1, 3, 33}, RecalcCase{99, 100, 99},
                                           RecalcCase{100, 100, 100}, RecalcCase{150, 100, 100},
                                           RecalcCase{-5, 100, 0},
                                           RecalcCase{INT32_MAX, INT32_MAX, 100},
                                           RecalcCase{INT32_MAX - 1, INT32_MAX, 99}));

struct ExtensionCase {
  const char* name;
  const char* extension;
};

class GetFileExtTest : public ::testing::TestWithParam<ExtensionCase> {};

TEST_P(GetFileExtTest, TakesWhatFollowsTheLastDotOfTheName) {
  EXPECT_EQ(CReader::GetFileExt(GetParam().name), GetParam().extension);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, GetFileExtTest,
    ::testing::Values(ExtensionCase{"survey.xse", "xse"}, ExtensionCase{"survey.XSE", "XSE"},
                      ExtensionCase{"survey.xse.bak", "bak"}, ExtensionCase{"survey", ""},
                      ExtensionCase{"survey.", ""}, ExtensionCase{".xse", ""},
                      ExtensionCase{"/data/run.d/survey", ""},
                      ExtensionCase{"/data/run.d/line.xse", "xse"}, ExtensionCase{"", ""}));

// Records the reports, guarded: they come from the reader thread.
class Recorder final : public IReaderObserver {
 public:
  void OnProgress(const CReader& /*reader*/, const CReader::ProgressStat& stat) override {
    std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back("progress " + std::to_string(stat.percent));
  }
  void OnFileAdded(const CReader& /*reader*/, const std::string& fileName) override {
    std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back("fileAdded " + fileName);
  }
  void OnFailedReading(const CReader& /*reader*/, const char* text) override {
    std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back(std::string("failedReading ") + (text != nullptr ? text : "(null)"));
  }
  std::vector<std::string> events() {
    std::lock_guard<std::mutex> lock(mutex_);
    return events_;
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> events_;
};

TEST(CReaderTest, NotifyProgressReportsAndMakesLastPercentCurrent) {
  CReader reader;
  Recorder recorder;
  reader.SetObserver(&recorder);
  CReader::ProgressStat stat;
  stat.percent = 42;
  EXPECT_EQ(reader.NotifyProgress(stat), 1);
  EXPECT_EQ(stat.lastPercent, 42);
  reader.currentFileName = "a.xse";
  reader.FileAdded();
  reader.FailedReading(nullptr);
  reader.FailedReading("bad");
  EXPECT_THAT(recorder.events(), ElementsAre("progress 42", "fileAdded a.xse",
                                             "failedReading (null)", "failedReading bad"));
}

TEST(CReaderTest, ReportsWithoutObserverGoNowhere) {
  CReader reader;
  CReader::ProgressStat stat;
  stat.percent = 7;
  reader.NotifyProgress(stat);
  reader.FileAdded();
  reader.FailedReading(nullptr);
  EXPECT_EQ(stat.lastPercent, 7);
}

// A reader whose runs wait for the running flag to drop, so tests control
// how long the thread lives.
class WaitingReader final : public CReader {
 public:
  int32_t RunReader() override { return Wait(1); }
  int32_t MultipleRunReader() override { return Wait(2); }
  std::atomic<int32_t> sawRunning{-1};

 private:
  int32_t Wait(int32_t kind) {
    sawRunning = running.load();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (running.load() != 0 && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return kind * 10;
  }
};

TEST(CReaderThreadTest, RunsTheChosenLoopWithTheRunningFlagSet) {
  for (const auto& [run, result] : {std::pair{CReader::ReaderRun::kSingleSource, 10},
                                    std::pair{CReader::ReaderRun::kFileList, 20}}) {
    WaitingReader reader;
    ASSERT_EQ(reader.StartReaderThread(run), 1);
    EXPECT_FALSE(reader.WaitReaderThread(20));
    EXPECT_EQ(reader.StopReader(), 1);
    EXPECT_TRUE(reader.WaitReaderThread(10000));
    EXPECT_EQ(reader.JoinReaderThread(), result);
    EXPECT_EQ(reader.sawRunning.load(), 1);
    EXPECT_EQ(reader.running.load(), 0);
  }
}

TEST(CReaderThreadTest, OneThreadAtATimeUntilJoined) {
  WaitingReader reader;
  ASSERT_EQ(reader.StartReaderThread(), 1);
  EXPECT_EQ(reader.StartReaderThread(), 0);
  EXPECT_EQ(reader.CloseReader(), 10);
  ASSERT_EQ(reader.StartReaderThread(CReader::ReaderRun::kFileList), 1);
  EXPECT_EQ(reader.CloseReader(), 20);
}

TEST(CReaderThreadTest, WaitAndJoinWithoutThreadReturnAtOnce) {
  CReader reader;
  EXPECT_TRUE(reader.WaitReaderThread(0));
  EXPECT_EQ(reader.JoinReaderThread(), 0);
}

TEST(CReaderThreadTest, RunThatThrowsEndsAsStopped) {
  class ThrowingReader final : public CReader {
   public:
    int32_t RunReader() override { throw std::runtime_error("broken source"); }
  };
  ThrowingReader reader;
  ASSERT_EQ(reader.StartReaderThread(), 1);
  EXPECT_EQ(reader.JoinReaderThread(), -1);
  EXPECT_EQ(reader.running.load(), 0);
}

TEST(CReaderPropertiesTest, CommonPropertiesListTheFiveParameters) {
  CReader::Properties properties;
  properties.values = {1, 2, 3, 4, 5};
  ZPropList list;
  properties.GetProperties(list);
  EXPECT_THAT(list.entries(),
              ElementsAre(ZPropList::Entry{"Parameter 1", 1}, ZPropList::Entry{"Parameter 2", 2},
                          ZPropList::Entry{"Parameter 3", 3}, ZPropList::Entry{"Parameter 4", 4},
                          ZPropList::Entry{"Parameter 5", 5}));
  CReader::Properties copy(properties);
  CReader::Properties moved(std::move(copy));
  EXPECT_EQ(moved.values, properties.values);
  EXPECT_TRUE(moved.IsPropertyEnabled(nullptr));
}

}  // namespace
