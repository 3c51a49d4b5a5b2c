#include "interpreters/xsereader/zxsereader.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "support/tempdir.h"

namespace {

// A source that hands out a fixed list of processed counts, counting its
// open attempts. One that is not open never opens: a server that does not
// answer.
class ScriptedSource final : public IElacContainer {
 public:
  ScriptedSource(std::atomic<int>& opens, std::vector<int32_t> counts, uint32_t size, bool open)
      : opens_(opens), counts_(std::move(counts)), size_(size), open_(open) {}
  bool Open(const char* /*name*/) override {
    ++opens_;
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
  std::atomic<int>& opens_;
  std::vector<int32_t> counts_;
  uint32_t size_;
  bool open_;
  size_t next_ = 0;
};

// A reader over a scripted source whose reports are recorded.
struct ScriptedRun {
  ScriptedRun(std::vector<int32_t> counts, uint32_t size, bool open = true, int32_t running = 1) {
    reader.SetObserver(&recorder);
    reader.running = running;
    reader.SetContainer(std::make_unique<ScriptedSource>(opens, std::move(counts), size, open));
  }
  std::atomic<int> opens{0};
  xsetest::EventRecorder recorder;
  ZXSEReader reader;
};

// "<result>: <reports>"; the source is dropped whatever the outcome.
std::string RunOver(std::vector<int32_t> counts, uint32_t size, const char* fileName,
                    int32_t running = 1) {
  ScriptedRun run(std::move(counts), size, true, running);
  run.reader.currentFileName = fileName;
  const int32_t result = run.reader.RunReader();
  EXPECT_FALSE(run.reader.HasContainer());
  return std::to_string(result) + ": " + run.recorder.events();
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
  // The run's own count does not stop there.
  ScriptedRun big({INT32_MAX, INT32_MAX, 5}, 0);
  big.reader.RunReader();
  EXPECT_EQ(big.reader.liveBytes(), uint64_t{INT32_MAX} * 2 + 5);
  ScriptedRun noSource({}, 0);
  noSource.reader.SetContainer(nullptr);
  EXPECT_EQ(noSource.reader.RunReader(), 0);
  EXPECT_EQ(noSource.recorder.events(), "");
}

TEST(ZXSEReaderTest, WaitForASourceThatNeverOpensPausesBetweenAttemptsAndEndsWithTheStop) {
  ScriptedRun run({10}, 10, false);
  std::vector<uint32_t> pauses;
  run.reader.openRetryPause = [&](uint32_t milliseconds) {
    pauses.push_back(milliseconds);
    if (pauses.size() == 5) run.reader.StopReader();  // as the host would, meanwhile
  };
  EXPECT_EQ(run.reader.RunReader(), -1);
  // One pause after each failed attempt, the attempt after the stop sees it.
  EXPECT_EQ(run.opens, 6);
  EXPECT_EQ(pauses, std::vector<uint32_t>(5, ZXSEReader::kOpenRetryPauseMs));
  EXPECT_EQ(run.recorder.events(), "progress 0 0 10; progress 100 0 10");
  EXPECT_FALSE(run.reader.HasContainer());
}

TEST(ZXSEReaderTest, StartTimeComesFromFrameStartsUntilTheFirstPosition) {
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

// One navigation frame after `junk` bytes.
std::vector<uint8_t> Frame(size_t junk = 0) {
  std::vector<uint8_t> bytes(junk, 'z');
  const std::vector<uint8_t> frame = xsetest::PositionFrames(1);
  bytes.insert(bytes.end(), frame.begin(), frame.end());
  return bytes;
}

// A file that does not open (missing, a folder, empty) is passed over
// without a report; the files after it are read.
TEST(ZXSEReaderTest, MultipleRunSkipsFilesThatDoNotOpen) {
  xsetest::TempDir dir;
  const std::string good = dir.Write("a.xse", xsetest::PositionFrames(1));
  ScriptedRun run({}, 0);  // each file that opens takes the source's place
  run.reader.fileList = {dir.File("missing.xse"), dir.Folder(), dir.Write("empty.xse", {}), good};
  EXPECT_EQ(run.reader.MultipleRunReader(), 0);
  // One run, of the last file: its progress from 0, its outcome.
  const std::string events = run.recorder.events();
  EXPECT_EQ(events.find("progress 0 0 "), 0u) << events;
  EXPECT_EQ(events.find("fileAdded"), events.size() - good.size() - 10) << events;
  EXPECT_TRUE(run.reader.fileList.empty());
}

// Empty files, frames whose end marker stands behind the file's end or is
// damaged, the extension switch, files that do not open (missing, a folder,
// a FIFO), a first frame too large for the decoder to follow and junk that
// is not a multiple of four are pinned through `xse check`.
TEST(ZXSEReaderTest, CanReadFileAnswersFromTheExtensionAndTheFirstFrame) {
  const struct {
    const char* name;  // in the test folder
    std::vector<uint8_t> bytes;
    int32_t extensionCheck;
    int32_t answer;
  } cases[] = {
      {"survey.xse.bak", Frame(), 1, 0},
      {"junk8.xse", Frame(8), 0, 1},
      {"text.xse", std::vector<uint8_t>(100, 'a'), 0, 0},
  };
  xsetest::TempDir dir;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = dir.Write(c.name, c.bytes);
    EXPECT_EQ(ZXSEReader::sCanReadFile(path, c.extensionCheck), c.answer);
    ZXSEReader reader;
    reader.extensionCheck = c.extensionCheck;
    EXPECT_EQ(reader.CanReadFile(path), c.answer);
  }
}

}  // namespace
