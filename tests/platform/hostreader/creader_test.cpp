// The host's reader base. Reports to an observer and the properties list
// are pinned down through the plug-in (tests/interpreters/xsereader).
#include "platform/hostreader/creader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

namespace {

TEST(CReaderTest, RecalcProgressTruncatesAndHoldsThePercentWithinRange) {
  const struct {
    int32_t done, total, percent;
  } cases[] = {{50, 0, 0},
               {50, -10, 0},
               {1, 3, 33},
               {150, 100, 100},
               {-5, 100, 0},
               {INT32_MAX, INT32_MAX, 100},
               {INT32_MAX - 1, INT32_MAX, 99}};
  for (const auto& c : cases) {
    CReader::ProgressStat stat;
    stat.done = c.done;
    stat.total = c.total;
    stat.RecalcProgress();
    EXPECT_EQ(stat.percent, c.percent) << c.done << " of " << c.total;
  }
}

TEST(CReaderTest, GetFileExtTakesWhatFollowsTheLastDotOfTheName) {
  const struct {
    const char* name;
    const char* extension;
  } cases[] = {{"survey.XSE", "XSE"}, {"survey.xse.bak", "bak"},  {"survey", ""}, {"survey.", ""},
               {".xse", ""},          {"/data/run.d/survey", ""}, {"", ""}};
  for (const auto& c : cases) EXPECT_EQ(CReader::GetFileExt(c.name), c.extension) << c.name;
}

// A reader whose runs wait for the running flag to drop, so tests control
// how long the thread lives; or whose single-source run throws.
class WaitingReader final : public CReader {
 public:
  explicit WaitingReader(bool throws = false) : throws_(throws) {}
  int32_t RunReader() override { return Wait(1); }
  int32_t MultipleRunReader() override { return Wait(2); }
  std::atomic<int32_t> sawRunning{-1};

 private:
  int32_t Wait(int32_t kind) {
    if (throws_) throw std::runtime_error("broken source");
    sawRunning = running.load();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (running.load() != 0 && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return kind * 10;
  }
  const bool throws_;
};

TEST(CReaderThreadTest, RunsOneChosenLoopAtATimeWithTheRunningFlagSet) {
  WaitingReader reader;
  EXPECT_TRUE(reader.WaitReaderThread(0));  // none started yet
  EXPECT_EQ(reader.JoinReaderThread(), 0);
  ASSERT_EQ(reader.StartReaderThread(CReader::ReaderRun::kSingleSource), 1);
  EXPECT_EQ(reader.StartReaderThread(), 0);
  EXPECT_FALSE(reader.WaitReaderThread(20));
  EXPECT_EQ(reader.StopReader(), 1);
  EXPECT_TRUE(reader.WaitReaderThread(10000));
  EXPECT_EQ(reader.JoinReaderThread(), 10);
  EXPECT_EQ(reader.sawRunning.load(), 1);
  EXPECT_EQ(reader.running.load(), 0);
  // Joined: the next run may start.
  ASSERT_EQ(reader.StartReaderThread(CReader::ReaderRun::kFileList), 1);
  EXPECT_EQ(reader.CloseReader(), 20);
}

TEST(CReaderThreadTest, RunThatThrowsEndsAsStopped) {
  WaitingReader reader(true);
  ASSERT_EQ(reader.StartReaderThread(), 1);
  EXPECT_EQ(reader.JoinReaderThread(), -1);
  EXPECT_EQ(reader.running.load(), 0);
}

}  // namespace
