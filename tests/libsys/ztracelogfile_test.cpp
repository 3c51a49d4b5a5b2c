#include "libsys/ztracelogfile.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "libsystestsupport.h"
#include "platform/namedmutex.h"
#include "platform/processinfo.h"
#include "support/tempdir.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Lines = std::vector<std::string>;

constexpr char kWarning[] = ">>>> QUORLOG(): no/bad defined $QUORHOME environment variable!!! <<<<";

Lines ReadLines(const fs::path& path) {
  Lines lines;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// The lines without their "hh:mm:ss|" time column, which each must have.
Lines WithoutTime(const Lines& lines) {
  static const std::regex kTimeColumn(R"(^\d\d:\d\d:\d\d\|)");
  Lines rest;
  for (const auto& line : lines) {
    EXPECT_TRUE(std::regex_search(line, kTimeColumn)) << line;
    rest.push_back(line.substr(std::min<size_t>(9, line.size())));
  }
  return rest;
}

// A level-1 line without its time column, as this thread writes it once it
// has taken the lock.
std::string EventTail(int line, const std::string& text) {
  char thread[16];
  std::snprintf(thread, sizeof thread, "%4d|", static_cast<int>(platform::CurrentThreadId()));
  return thread + std::string(__FILE__) + "@" + std::to_string(line) + "|" + text;
}

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
  std::string fileName_ = "trace." + std::to_string(::getpid()) + ".log";
};

TEST_F(TraceLogTest, OffWritesNoLineAndCreatesNoFile) {
  fs::create_directory(here_ / "log");
  int evaluated = 0;
  for (int level = -1; level <= 4; ++level) QUORLOG(level, "line %d", ++evaluated);
  TraceWrite(1, "direct");
  EXPECT_EQ(evaluated, 0) << "arguments of a line that is not written are not evaluated";
  EXPECT_TRUE(fs::is_empty(here_ / "log"));
  EXPECT_FALSE(fs::exists(fileName_));
}

TEST_F(TraceLogTest, OnlySettingsOneAndTwoStartTheTraceAndUnnamedIsNotActive) {
  EXPECT_FALSE(TraceStart(0, fileName_.c_str()));
  EXPECT_FALSE(TraceStart(3, fileName_.c_str()));
  EXPECT_EQ(TraceSetting(), 0);
  // Without a name the lines still go somewhere, but the trace is not active.
  ASSERT_TRUE(TraceStart(1, nullptr));
  EXPECT_FALSE(TraceIsActive());
  fs::create_directory(here_ / "log");
  QUORLOG(2, "unnamed");
  EXPECT_EQ(ReadLines(here_ / "log" / "quortrace.log").size(), 1U);
}

struct LevelCase {
  int32_t setting, level;
  size_t lines;  // lines the level writes at this setting
};

class TraceLevelTest : public TraceLogTest, public ::testing::WithParamInterface<LevelCase> {};

// The layouts themselves are pinned by the layout tests; what a line gets
// from here is its source location and the thread that took the lock.
TEST_P(TraceLevelTest, WritesTheLinesOfItsLevelAndSetting) {
  const LevelCase& c = GetParam();
  StartWithLogFolder(c.setting);
  const int line = __LINE__ + 1;
  QUORLOG(c.level, "value %d of %s", 7, "x");
  const Lines lines = ReadLines(LogFile());
  ASSERT_EQ(lines.size(), c.lines);
  if (c.level == 0) {
    EXPECT_EQ(lines[0], "##TRACE:: ") << "no program name is set";
  } else if (c.level == 1) {
    EXPECT_EQ(WithoutTime(lines)[0], EventTail(line, "value 7 of x"));
  }
}

INSTANTIATE_TEST_SUITE_P(SettingsAndLevels, TraceLevelTest,
                         ::testing::Values(LevelCase{1, 0, 4}, LevelCase{1, 1, 1},
                                           LevelCase{1, 2, 1}, LevelCase{1, 3, 0},
                                           LevelCase{2, 3, 1}, LevelCase{2, 1, 1},
                                           LevelCase{2, 4, 0}, LevelCase{2, -1, 0}));

TEST_F(TraceLogTest, CutsTextsAt1023Characters) {
  StartWithLogFolder(2);
  std::string text;
  for (int i = 0; i < 2000; ++i) text += static_cast<char>('a' + i % 26);
  QUORLOG(3, "%s", text.c_str());
  EXPECT_EQ(ReadLines(LogFile()), Lines{text.substr(0, 1023)});
}

TEST_F(TraceLogTest, WithoutLogFolderEveryLineFollowsTheWarning) {
  ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
  QUORLOG(2, "first");
  QUORLOG(2, "second");
  EXPECT_STREQ(TraceFullPath(), fileName_.c_str());
  EXPECT_EQ(WithoutTime(ReadLines(here_ / fileName_)),
            (Lines{kWarning, "first", kWarning, "second"}));
}

// Where TraceBuildPath puts the file. Folders are relative to the test's
// temporary folder; "{}" in the home list and the path stands for it.
struct PathCase {
  const char* name;
  const char* fileName;                 // null: no name set
  std::vector<std::string> logEntries;  // folders that get an entry "log"
  const char* homeList;                 // null: QUORHOME unset
  int32_t result;
  const char* expectedPath;
};

class TraceBuildPathTest : public TraceLogTest, public ::testing::WithParamInterface<PathCase> {};

std::string Expand(std::string pattern, const std::string& folder) {
  for (size_t at; (at = pattern.find("{}")) != std::string::npos;) pattern.replace(at, 2, folder);
  return pattern;
}

TEST_P(TraceBuildPathTest, FindsTheLogFolder) {
  const PathCase& c = GetParam();
  for (const std::string& folder : c.logEntries) {
    fs::create_directories(here_ / folder);
    if (folder.starts_with("file")) {
      std::ofstream(here_ / folder / "log").put('x');
    } else {
      fs::create_directory(here_ / folder / "log");
    }
  }
  const auto home = c.homeList != nullptr ? Expand(c.homeList, here_.string()) : std::string();
  libsystest::ScopedEnvironment quorhome("QUORHOME",
                                         c.homeList != nullptr ? home.c_str() : nullptr);
  ASSERT_TRUE(TraceStart(1, c.fileName));
  EXPECT_EQ(TraceBuildPath(), c.result);
  EXPECT_EQ(std::string(TraceFullPath()), Expand(c.expectedPath, here_.string()));
}

INSTANTIATE_TEST_SUITE_P(
    Locations, TraceBuildPathTest,
    ::testing::Values(
        PathCase{"absolute_path", "/var/x.log", {"."}, nullptr, 1, "/var/x.log"},
        PathCase{"drive_letter", "D:\\t\\x.log", {"."}, nullptr, 1, "D:\\t\\x.log"},
        PathCase{"network_path", "\\\\s\\x.log", {"."}, nullptr, 1, "\\\\s\\x.log"},
        PathCase{"current_folder_first", "x.log", {".", "a"}, "{}/a", 1, "{}/log/x.log"},
        PathCase{"first_home_with_log",
                 "x.log",
                 {"b", "c"},
                 "{}/missing;;{}/a;{}/b/;{}/c",
                 1,
                 "{}/b/log/x.log"},
        PathCase{"relative_home", "x.log", {"b"}, "a;b", 1, "{}/b/log/x.log"},
        PathCase{"log_of_any_kind", "x.log", {"file"}, "{}/file", 1, "{}/file/log/x.log"},
        PathCase{"default_name", nullptr, {"."}, nullptr, 1, "{}/log/quortrace.log"},
        PathCase{"nothing_found", "x.log", {"a"}, "{}/missing", -1, "x.log"}),
    [](const ::testing::TestParamInfo<PathCase>& p) { return std::string(p.param.name); });

TEST_F(TraceLogTest, LogFolderTooDeepForTheNameFallsBackToTheCurrentFolder) {
  const fs::path deep = here_ / std::string(240, 'd');
  fs::create_directories(deep / "log");
  libsystest::ScopedEnvironment quorhome("QUORHOME", deep.c_str());
  ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
  EXPECT_EQ(TraceBuildPath(), -1);
  QUORLOG(2, "kept");
  EXPECT_EQ(WithoutTime(ReadLines(here_ / fileName_)), (Lines{kWarning, "kept"}));
  EXPECT_TRUE(fs::is_empty(deep / "log"));
}

TEST_F(TraceLogTest, PathThatCannotFitDropsTheLine) {
  // 259 characters fit with the terminator; 260 do not.
  const std::string folder = here_.string() + "/";
  const std::string fits = folder + std::string(259 - folder.size(), 'f');
  const std::string tooLong = folder + std::string(260 - folder.size(), 'g');
  const std::string longName(260, 'h');  // a bare name that alone cannot fit
  ASSERT_TRUE(TraceStart(1, fits.c_str()));
  EXPECT_EQ(TraceBuildPath(), 1);
  QUORLOG(2, "fits");
  EXPECT_EQ(ReadLines(fits).size(), 1U);
  for (const std::string& name : {tooLong, longName}) {
    TraceReset();
    ASSERT_TRUE(TraceStart(1, name.c_str()));
    EXPECT_EQ(TraceBuildPath(), 0);
    EXPECT_STREQ(TraceFullPath(), "");
    QUORLOG(2, "dropped");
    std::error_code error;
    EXPECT_FALSE(fs::exists(name, error));
  }
}

// The source location belongs to the writer: another thread setting its own
// between this thread's TraceSetSource and TraceWrite does not show up.
TEST_F(TraceLogTest, SourceLocationIsEachWritersOwn) {
  StartWithLogFolder(1);
  ZTraceLock lock(1);
  TraceSetSource(__FILE__, 1234);
  std::thread([] { TraceSetSource("elsewhere.cpp", 1); }).join();
  TraceWrite(1, "mine");
  EXPECT_EQ(WithoutTime(ReadLines(LogFile())), Lines{EventTail(1234, "mine")});
}

// Another thread holds the trace mutex through its own handle of the name
// while this thread writes one line.
struct WaitCase {
  const char* name;
  int32_t setting, level;
  int minMs, maxMs;
  size_t lines;
};

class TraceWaitTest : public TraceLogTest, public ::testing::WithParamInterface<WaitCase> {};

TEST_P(TraceWaitTest, WaitsBoundedAndWritesAnyway) {
  const WaitCase& c = GetParam();
  StartWithLogFolder(c.setting);
  platform::NamedMutex* other = platform::CreateNamedMutex(fileName_.c_str());
  ASSERT_NE(other, nullptr);
  std::promise<void> taken, done;
  std::thread holder([&] {
    const bool ok = platform::WaitNamedMutex(other, 0) == platform::MutexWait::kAcquired;
    taken.set_value();
    done.get_future().wait();
    if (ok) platform::ReleaseNamedMutex(other);
  });
  taken.get_future().wait();
  const auto start = Clock::now();
  QUORLOG(c.level, "after the wait");
  const auto waited = Clock::now() - start;
  done.set_value();
  holder.join();
  platform::CloseNamedMutex(other);
  EXPECT_GE(waited, std::chrono::milliseconds(c.minMs));
  EXPECT_LT(waited, std::chrono::milliseconds(c.maxMs));
  EXPECT_EQ(ReadLines(LogFile()).size(), c.lines);
}

INSTANTIATE_TEST_SUITE_P(
    Waits, TraceWaitTest,
    ::testing::Values(WaitCase{"verbose_below_setting_2_never_waits", 1, 3, 0, 100, 0},
                      WaitCase{"verbose_waits_111ms", 2, 3, 105, 500, 1},
                      WaitCase{"event_waits_555ms", 1, 1, 545, 1500, 1}),
    [](const ::testing::TestParamInfo<WaitCase>& p) { return std::string(p.param.name); });

TEST_F(TraceLogTest, TakesOverTheMutexOfAWriterThatDied) {
  StartWithLogFolder(1);
  const pid_t pid = ::fork();
  if (pid == 0) {
    platform::NamedMutex* own = platform::CreateNamedMutex(fileName_.c_str());
    ::_exit(platform::WaitNamedMutex(own, 0) == platform::MutexWait::kAcquired ? 0 : 1);
  }
  ASSERT_GT(pid, 0);
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  const auto start = Clock::now();
  ZTraceLock lock(1);
  EXPECT_TRUE(lock.Held());
  EXPECT_LT(Clock::now() - start, std::chrono::milliseconds(300));
  EXPECT_TRUE(lock.Release());
  EXPECT_FALSE(lock.Held());
}

// Writers on several threads of two processes tag their lines with their
// own thread id; the lock guarantees the thread column (module-wide)
// matches, and no line is torn.
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

TEST_F(TraceLogTest, LinesOfManyThreadsAndTwoProcessesNeverMix) {
  StartWithLogFolder(1);
  constexpr int kThreads = 3, kLines = 100;
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t pid = ::fork();  // before any writer thread exists
  if (pid == 0) {
    // Join the trace as another process would: by name.
    TraceReset();
    const bool started = TraceStart(1, fileName_.c_str());
    const char go = 'g';
    const bool signalled = ::write(ready[1], &go, 1) == 1;
    WriteTaggedLines(kThreads, kLines);
    TraceReset();
    ::_exit(started && signalled ? 0 : 1);
  }
  ASSERT_GT(pid, 0);
  char go = 0;
  EXPECT_EQ(::read(ready[0], &go, 1), 1);
  WriteTaggedLines(kThreads, kLines);
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ::close(ready[0]);
  ::close(ready[1]);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

  static const std::regex kTag(R"(^ *(\d+)\|[^@]*@\d+\|writer (\d+) )");
  const Lines lines = WithoutTime(ReadLines(LogFile()));
  EXPECT_EQ(lines.size(), size_t{2 * kThreads * kLines});
  std::map<std::string, int> perThread;
  for (const std::string& line : lines) {
    std::smatch match;
    EXPECT_TRUE(std::regex_search(line, match, kTag)) << line;
    EXPECT_EQ(match[1].str(), match[2].str()) << line;
    const std::string filler = match.suffix();
    EXPECT_EQ(filler.size(), 600U) << line;
    EXPECT_EQ(filler.find_first_not_of(filler.substr(0, 1)), std::string::npos) << line;
    ++perThread[match[2].str()];
  }
  EXPECT_EQ(perThread.size(), size_t{2 * kThreads});
  for (const auto& [thread, count] : perThread) EXPECT_EQ(count, kLines) << thread;
}

}  // namespace
