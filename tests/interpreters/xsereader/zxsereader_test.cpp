#include "interpreters/xsereader/zxsereader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <climits>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"

namespace {

// What a source went through; atomic, as the reader thread writes it while
// the wait test reads it.
struct SourceLog {
  std::atomic<int> opens{0};
  std::atomic<bool> destroyed{false};
};

// A source that hands out a fixed list of processed counts. One that is not
// open never opens: a server that does not answer.
class ScriptedSource final : public IElacContainer {
 public:
  ScriptedSource(SourceLog& log, std::vector<int32_t> counts, uint32_t size, bool open)
      : log_(log), counts_(std::move(counts)), size_(size), open_(open) {}
  ~ScriptedSource() override { log_.destroyed = true; }

  bool Open(const char* /*name*/) override {
    ++log_.opens;
    return open_;
  }
  bool receiveData(int32_t& processed, int32_t /*reserved*/) override {
    processed = next_ < counts_.size() ? counts_[next_] : 0;
    return next_++ < counts_.size();
  }
  void Close() override {}
  uint32_t GetSize() override { return size_; }
  bool IsOpen() override { return open_; }

 private:
  SourceLog& log_;
  std::vector<int32_t> counts_;
  uint32_t size_;
  bool open_;
  size_t next_ = 0;
};

// A running reader whose reports are recorded, with its source's log.
struct Harness {
  explicit Harness(int32_t running = 1) {
    reader.SetObserver(&recorder);
    reader.running = running;
  }
  void Prepare(std::vector<int32_t> counts, uint32_t size, bool open = true) {
    reader.SetContainer(std::make_unique<ScriptedSource>(log, std::move(counts), size, open));
  }
  // The reports, one line each, joined by "; ".
  std::string Events() const {
    std::string text;
    for (const std::string& event : recorder.events()) text += (text.empty() ? "" : "; ") + event;
    return text;
  }

  SourceLog log;
  xsetest::EventRecorder recorder;
  ZXSEReader reader;
};

// Runs a reader over a source of `counts`: "<result>: <reports>". The
// source is gone afterwards, whatever the outcome.
std::string RunOver(std::vector<int32_t> counts, uint32_t size, const char* fileName,
                    int32_t running = 1) {
  Harness run(running);
  run.reader.currentFileName = fileName;
  run.Prepare(std::move(counts), size);
  const int32_t result = run.reader.RunReader();
  EXPECT_TRUE(run.log.destroyed);
  EXPECT_FALSE(run.reader.HasContainer());
  return std::to_string(result) + ": " + run.Events();
}

TEST(ZXSEReaderTest, RunReportsRisingProgressAndTheOutcomeThenDropsTheSource) {
  EXPECT_EQ(RunOver({5, 5, 300, 10, 680}, 1000, "a.xse"),
            "1: progress 0 0 1000; progress 1 10 1000; progress 31 310 1000; "
            "progress 32 320 1000; progress 100 1000 1000; progress 100 1000 1000; "
            "fileAdded a.xse");
  // No file name: a server run that ended by itself.
  EXPECT_EQ(RunOver({10}, 0, ""), "1: progress 0 0 0; progress 100 10 0; failedReading");
  // Stopped before the first read: both ends of the progress, no outcome.
  EXPECT_EQ(RunOver({100}, 100, "a.xse", 0), "-1: progress 0 0 100; progress 100 0 100");
  // Sizes and counts beyond the 32-bit progress record stop at its limit.
  EXPECT_EQ(RunOver({INT32_MAX, INT32_MAX, 5}, UINT32_MAX, "big.xse"),
            "1: progress 0 0 2147483647; progress 100 2147483647 2147483647; "
            "progress 100 2147483647 2147483647; fileAdded big.xse");
  Harness noSource;
  EXPECT_EQ(noSource.reader.RunReader(), 0);
  EXPECT_EQ(noSource.Events(), "");
}

TEST(ZXSEReaderTest, WaitForASourceThatNeverOpensEndsWithTheStopAndPauses) {
  Harness run;
  run.Prepare({10}, 10, false);
  std::atomic<int32_t> result{0};
  std::thread runner([&run, &result] { result = run.reader.RunReader(); });
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  const int attempts = run.log.opens;
  const auto stopped = std::chrono::steady_clock::now();
  run.reader.StopReader();
  runner.join();
  EXPECT_LT(std::chrono::steady_clock::now() - stopped, std::chrono::milliseconds(500));
  EXPECT_EQ(result, -1);
  // One attempt per pause, give or take the scheduler: not a spin.
  EXPECT_GE(attempts, 2);
  EXPECT_LE(attempts, 200 / static_cast<int>(ZXSEReader::kOpenRetryPauseMs) + 5);
  EXPECT_EQ(run.Events(), "progress 0 0 10; progress 100 0 10");
  EXPECT_TRUE(run.log.destroyed);
}

TEST(ZXSEReaderTest, StartTimeComesFromFrameStartsUntilTheFirstPositionHeadingsGoBySource) {
  ZXSEReader reader;
  const auto start = [&reader] {
    return std::to_string(reader.startTimeSec) + " s " + std::to_string(reader.startTimeMs) +
           " ms" + (reader.startTimeSet != 0 ? " fixed" : "");
  };
  reader.HandleStartTime({1000000000, 123456});
  EXPECT_EQ(start(), "1000000000 s 123 ms");
  // Before 1970 the seconds keep their sign; the microseconds are truncated.
  quor::NavigationRec position;
  position.time = {-86400, 500999};
  reader.HandlePosition(position);
  EXPECT_EQ(start(), "-86400 s 500 ms fixed");
  reader.HandleStartTime({5, 5000});
  position.time = {7, 7000};
  reader.HandlePosition(position);
  EXPECT_EQ(start(), "-86400 s 500 ms fixed");
  quor::GyroRec gyro;
  gyro.sensorIndex = 1;
  gyro.heading = 271.5;
  reader.HandleGyro(gyro);
  gyro.sensorIndex = 2;
  gyro.heading = 12.0;
  reader.HandleGyro(gyro);
  EXPECT_EQ(reader.bathymetryHeading(), 271.5);
  EXPECT_EQ(reader.primaryHeading(), 12.0);
}

TEST(ZXSEReaderTest, ConvertTimeGivesMillisecondsSinceTheStartTime) {
  const struct {
    int64_t startSec;
    int32_t startMs, recordSec, recordUsec, milliseconds;
  } cases[] = {
      {1000000005, 0, 1000000007, 250000, 2250},
      {1000000005, 500, 1000000005 - 10, 0, -10500},
      {0, 0, 0, -1999, -1},                       // truncated toward zero
      {0, 0, INT32_MAX, 0, -1000},                // wraps in 32 bits
      {(int64_t{1} << 32) + 10, 0, 12, 0, 2000},  // only the low 32 bits of the start count
  };
  for (const auto& c : cases) {
    ZXSEReader reader;
    reader.startTimeSec = c.startSec;
    reader.startTimeMs = c.startMs;
    quor::SensorRec record;
    record.time = {c.recordSec, c.recordUsec};
    EXPECT_EQ(reader.ConvertTime(record), c.milliseconds) << c.recordSec << " " << c.recordUsec;
  }
}

}  // namespace
