#include "libsys/ztracelogfile.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

#include "libsystestsupport.h"
#include "platform/environment.h"
#include "platform/modulepath.h"
#include "platform/namedmutex.h"
#include "platform/processinfo.h"
#include "support/childprocess.h"
#include "support/tempdir.h"

namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;
using libsystest::ReadLines;

constexpr char kWarning[] = ">>>> QUORLOG(): no/bad defined $QUORHOME environment variable!!! <<<<";

// Every test runs in a fresh temporary folder with QUORHOME unset and the
// trace off; the trace file name is unique to the process, as in production,
// so parallel runs never share a mutex.
class TraceLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::current_path(dir_.path());
    TraceReset();
  }
  void TearDown() override {
    TraceReset();
    fs::current_path(savedFolder_);
  }
  fs::path LogFile() const { return here_ / "log" / fileName_; }
  void StartWithLogFolder(int32_t setting) {
    fs::create_directory(here_ / "log");
    ASSERT_TRUE(TraceStart(setting, fileName_.c_str()));
  }

  fs::path savedFolder_ = fs::current_path();
  libsystest::ScopedEnvironment quorhome_{"QUORHOME", nullptr};
  xsetest::TempDir dir_;
  fs::path here_ = fs::canonical(dir_.path());
  std::string fileName_ = "trace." + std::to_string(platform::CurrentProcessId()) + ".log";
};

TEST_F(TraceLogTest, OnlySettingsOneAndTwoStartTheTraceAndWithoutLogFolderLinesFollowAWarning) {
  EXPECT_FALSE(TraceStart(0, fileName_.c_str()));
  EXPECT_FALSE(TraceStart(3, fileName_.c_str()));
  int evaluated = 0;
  for (int level = -1; level <= 4; ++level) QUORLOG(level, "line %d", ++evaluated);
  TraceWrite(1, "direct");
  EXPECT_EQ(evaluated, 0) << "arguments of a line that is not written are not evaluated";
  EXPECT_TRUE(fs::is_empty(here_));
  // Without a log folder every line goes to the current one after a warning.
  ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
  QUORLOG(2, "first");
  QUORLOG(2, "second");
  Lines lines = ReadLines(here_ / fileName_);
  for (std::string& line : lines) line.erase(0, 9);  // the time column
  EXPECT_EQ(lines, (Lines{kWarning, "first", kWarning, "second"}));
}

// The layouts themselves are pinned by the layout tests; what a line gets
// from here is the writer's own source location, the thread that took the
// lock, the setting and the cut of long texts.
TEST_F(TraceLogTest, LinesCarryTheWritersOwnSourceAndVerboseNeedsSettingTwo) {
  StartWithLogFolder(1);
  const int line = __LINE__ + 1;
  QUORLOG(0, "alert");
  TraceSetSource(__FILE__, 1234);
  std::thread([] { TraceSetSource("elsewhere.cpp", 1); }).join();
  TraceWrite(1, "value %d of %s", 7, "x");
  ASSERT_TRUE(TraceStart(2, fileName_.c_str()));
  const std::string text = std::string(1023, 'a') + std::string(977, 'b');
  QUORLOG(3, "%s", text.c_str());
  const std::string thread = std::to_string(platform::CurrentThreadId());
  const Lines lines = ReadLines(LogFile());
  ASSERT_EQ(lines.size(), 6U);
  EXPECT_EQ(lines[0], "##TRACE:: ") << "no program name is set";
  EXPECT_EQ(lines[2],
            "File : \"" __FILE__ "\" at line " + std::to_string(line) + " in thread " + thread);
  EXPECT_EQ(lines[4].substr(8), "|" + std::string(4 - std::min<size_t>(4, thread.size()), ' ') +
                                    thread + "|" __FILE__ "@1234|value 7 of x");
  EXPECT_EQ(lines[5], std::string(1023, 'a'));
}

// Where TraceBuildPath puts the file. 259 characters fit with the
// terminator; 260 do not. A log folder too deep for the name counts as none:
// the line still goes to the current folder.
TEST_F(TraceLogTest, BuildPathFindsTheLogFolder) {
  const std::string deep(250, 'd'), fits = "/" + std::string(258, 'f'),
                                    tooLong = "/" + std::string(259, 'g'), longBare(260, 'h');
  const std::string deepHome = "{}/" + deep, homes = "{}/missing;;{}/a;{}/b/;{}/c";
  // File name (null: none set), folders that get an entry "log", $QUORHOME
  // (null: unset; "{}" stands for the case's folder), result, path built.
  const std::tuple<const char*, std::vector<std::string>, const char*, int32_t, std::string>
      kCases[] = {{"D:\\t\\x.log", {"."}, nullptr, 1, "D:\\t\\x.log"},
                  {"\\\\s\\x.log", {"."}, nullptr, 1, "\\\\s\\x.log"},
                  {"x.log", {".", "a"}, "{}/a", 1, "{}/log/x.log"},  // the current folder first
                  {"x.log", {"b", "c"}, homes.c_str(), 1, "{}/b/log/x.log"},
                  {nullptr, {"."}, nullptr, 1, "{}/log/quortrace.log"},
                  {"x.log", {deep}, deepHome.c_str(), -1, "x.log"},
                  {fits.c_str(), {}, nullptr, 1, fits},
                  {tooLong.c_str(), {}, nullptr, 0, ""},
                  {longBare.c_str(), {}, nullptr, 0, ""}};
  for (const auto& [fileName, logEntries, homeList, result, expectedPath] : kCases) {
    SCOPED_TRACE(expectedPath.substr(0, 20));
    xsetest::TempDir caseDir;
    fs::current_path(caseDir.path());
    const std::string root = xsetest::Utf8Text(fs::canonical(caseDir.path()));
    const auto expand = [&root](std::string pattern) {
      for (size_t at; (at = pattern.find("{}")) != std::string::npos;) pattern.replace(at, 2, root);
      return pattern;
    };
    // Plain files: an entry "log" of any kind counts.
    for (const std::string& folder : logEntries) {
      fs::create_directories(root + "/" + folder);
      std::ofstream(root + "/" + folder + "/log").put('x');
    }
    const std::string home = homeList != nullptr ? expand(homeList) : "";
    libsystest::ScopedEnvironment quorhome("QUORHOME", homeList ? home.c_str() : nullptr);
    TraceReset();
    ASSERT_TRUE(TraceStart(1, fileName));
    EXPECT_EQ(TraceIsActive(), fileName != nullptr);
    EXPECT_EQ(TraceBuildPath(), result);
    EXPECT_EQ(TraceFullPath(), expand(expectedPath));
  }
}

// This thread holds the trace mutex through its own handle of the name while
// another thread writes one line: the writer waits at most its level's time.
TEST_F(TraceLogTest, WaitsBoundedForTheLockAndWritesAnyway) {
  StartWithLogFolder(1);
  platform::NamedMutex* other = platform::CreateNamedMutex(fileName_.c_str());
  ASSERT_EQ(platform::WaitNamedMutex(other, 0), platform::MutexWait::kAcquired);
  // Setting, level, least and most wait in ms, lines in the file after it.
  const std::tuple<int32_t, int32_t, int, int, size_t> kCases[] = {
      {1, 3, 0, 100, 0}, {2, 3, 105, 500, 1}, {1, 1, 545, 1500, 2}};
  for (const auto& [setting, level, minMs, maxMs, lines] : kCases) {
    ASSERT_TRUE(TraceStart(setting, fileName_.c_str()));
    std::chrono::steady_clock::duration waited{};
    std::thread([&waited, writeLevel = level] {
      const auto start = std::chrono::steady_clock::now();
      QUORLOG(writeLevel, "after the wait");
      waited = std::chrono::steady_clock::now() - start;
    }).join();
    EXPECT_GE(waited, std::chrono::milliseconds(minMs)) << "level " << level;
    EXPECT_LT(waited, std::chrono::milliseconds(maxMs)) << "level " << level;
    EXPECT_EQ(ReadLines(LogFile()).size(), lines);
  }
  EXPECT_TRUE(platform::ReleaseNamedMutex(other));
  platform::CloseNamedMutex(other);
}

// Writers on several threads of two processes tag their lines with their
// own thread id; the lock guarantees that the thread column (module-wide)
// matches the tag, and no line is torn.
void WriteTaggedLines(int threads, int lines) {
  std::vector<std::thread> writers;
  for (int t = 0; t < threads; ++t) {
    writers.emplace_back([lines, letter = static_cast<char>('a' + t)] {
      const uint32_t me = platform::CurrentThreadId();
      const std::string filler(600, letter);
      for (int i = 0; i < lines; ++i) QUORLOG(1, "writer %u %s", me, filler.c_str());
    });
  }
  for (std::thread& writer : writers) writer.join();
}

// The second process is this test program again, running only the test
// below, in the trace's folder; it says when it is about to write.
constexpr char kChildVariable[] = "XSE_TRACE_CHILD_FILE";
constexpr int kThreads = 3, kLines = 100;  // in each process

TEST(TraceLogChild, DISABLED_WritesTaggedLinesAsAnotherProcess) {
  const auto fileName = platform::GetEnvironmentVariable(kChildVariable);
  if (!fileName) GTEST_SKIP() << "runs as the second process of a test";
  // Join the trace as another process would: by name.
  TraceReset();
  ASSERT_TRUE(TraceStart(1, fileName->c_str()));
  std::ofstream("child.ready").put('x');
  WriteTaggedLines(kThreads, kLines);
}

TEST_F(TraceLogTest, LinesOfManyThreadsAndTwoProcessesNeverMix) {
  StartWithLogFolder(1);
  xsetest::ChildProcess child(platform::ExecutablePath(),
                              {"--gtest_filter=TraceLogChild.*", "--gtest_also_run_disabled_tests"},
                              {xsetest::Utf8Text(here_), {{kChildVariable, fileName_}}});
  ASSERT_TRUE(child.Started());
  // Both write at the same time: this one starts once the child is ready.
  const auto giveUp = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!fs::exists(here_ / "child.ready") && std::chrono::steady_clock::now() < giveUp)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  WriteTaggedLines(kThreads, kLines);
  const xsetest::ToolResult ended = child.Wait();
  EXPECT_EQ(ended.status, 0) << ended.out << ended.err;
  static const std::regex kLine(R"(\d\d:\d\d:\d\d\| *(\d+)\|[^@]*@\d+\|)"
                                R"(writer \1 ([a-z])\2{599})");
  const Lines lines = ReadLines(LogFile());
  EXPECT_EQ(lines.size(), size_t{2 * kThreads * kLines});
  for (const std::string& line : lines) EXPECT_TRUE(std::regex_match(line, kLine)) << line;
}

}  // namespace
