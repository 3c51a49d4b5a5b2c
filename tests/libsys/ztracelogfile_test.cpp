#include "libsys/ztracelogfile.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "platform/environment.h"
#include "platform/namedmutex.h"
#include "platform/processinfo.h"
#include "support/tempdir.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr char kWarning[] = ">>>> QUORLOG(): no/bad defined $QUORHOME environment variable!!! <<<<";
const std::regex kTimeColumn(R"(^\d\d:\d\d:\d\d\|)");

std::vector<std::string> ReadLines(const fs::path& path) {
  std::vector<std::string> lines;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// A level-1 line with its time column removed, as the current thread would
// write it once it has taken the lock.
std::string EventTail(uint32_t threadId, int line, const std::string& text) {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, "%4d|", static_cast<int>(threadId));
  return buffer + std::string(__FILE__) + "@" + std::to_string(line) + "|" + text;
}

bool HasTimeColumn(const std::string& line) { return std::regex_search(line, kTimeColumn); }

const std::regex kWriterTag(R"(@\d+\|writer (\d+) )");

// Every test runs in a fresh temporary folder with QUORHOME unset and the
// trace off; the trace file name is unique to the process, as in production,
// so parallel runs never share a mutex.
class TraceLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    savedFolder_ = fs::current_path();
    savedHome_ = platform::GetEnvironmentVariable("QUORHOME");
    platform::SetEnvironmentVariable("QUORHOME", nullptr);
    fs::current_path(dir_.path());
    here_ = fs::current_path();
    fileName_ = "trace." + std::to_string(::getpid()) + ".log";
    TraceReset();
  }
  void TearDown() override {
    TraceReset();
    fs::current_path(savedFolder_);
    platform::SetEnvironmentVariable("QUORHOME", savedHome_ ? savedHome_->c_str() : nullptr);
  }

  fs::path LogFile() const { return here_ / "log" / fileName_; }
  void MakeLogFolder() const { fs::create_directory(here_ / "log"); }

  xsetest::TempDir dir_;
  fs::path here_;
  std::string fileName_;

 private:
  fs::path savedFolder_;
  std::optional<std::string> savedHome_;
};

TEST_F(TraceLogTest, OffWritesNoLineAndCreatesNoFile) {
  MakeLogFolder();
  int evaluated = 0;
  for (int level = -1; level <= 4; ++level) QUORLOG(level, "line %d", ++evaluated);
  TraceWrite(1, "direct");
  EXPECT_EQ(evaluated, 0) << "arguments of a line that is not written are not evaluated";
  EXPECT_TRUE(fs::is_empty(here_ / "log"));
  EXPECT_FALSE(fs::exists(fileName_));
  EXPECT_FALSE(TraceIsActive());
}

TEST_F(TraceLogTest, StartAndResetSwitchTheTrace) {
  EXPECT_FALSE(TraceStart(0, fileName_.c_str()));
  EXPECT_FALSE(TraceStart(3, fileName_.c_str()));
  EXPECT_EQ(TraceSetting(), 0);

  ASSERT_TRUE(TraceStart(2, fileName_.c_str()));
  EXPECT_TRUE(TraceIsActive());
  EXPECT_EQ(TraceSetting(), 2);
  EXPECT_EQ(TraceReset(), 1);
  EXPECT_FALSE(TraceIsActive());
  EXPECT_EQ(TraceSetting(), 0);

  // Without a name the lines still go somewhere, but the trace is not active.
  ASSERT_TRUE(TraceStart(1, nullptr));
  EXPECT_FALSE(TraceIsActive());
  MakeLogFolder();
  QUORLOG(2, "unnamed");
  EXPECT_EQ(ReadLines(here_ / "log" / "quortrace.log").size(), 1U);
}

struct LevelCase {
  int32_t setting;
  int32_t level;
  size_t lines;  // lines the level writes at this setting
};

class TraceLevelTest : public TraceLogTest, public ::testing::WithParamInterface<LevelCase> {};

TEST_P(TraceLevelTest, WritesTheLinesOfItsLevelAndSetting) {
  const LevelCase& c = GetParam();
  MakeLogFolder();
  ASSERT_TRUE(TraceStart(c.setting, fileName_.c_str()));
  const int line = __LINE__ + 1;
  QUORLOG(c.level, "value %d of %s", 7, "x");
  const std::vector<std::string> lines = ReadLines(LogFile());
  ASSERT_EQ(lines.size(), c.lines);
  if (c.lines == 0) return;

  const uint32_t thread = platform::CurrentThreadId();  // this thread took the lock
  switch (c.level) {
    case 0:
      EXPECT_EQ(lines[0], "##TRACE:: ");
      EXPECT_EQ(lines[1], "Info : value 7 of x");
      EXPECT_EQ(lines[2], "File : \"" + std::string(__FILE__) + "\" at line " +
                              std::to_string(line) + " in thread " + std::to_string(thread));
      EXPECT_TRUE(std::regex_match(
          lines[3], std::regex(R"(Time : \w{3} \w{3} [ \d]\d \d\d:\d\d:\d\d \d{4})")))
          << lines[3];
      break;
    case 1:
      EXPECT_TRUE(HasTimeColumn(lines[0])) << lines[0];
      EXPECT_EQ(lines[0].substr(9), EventTail(thread, line, "value 7 of x"));
      break;
    case 2:
      EXPECT_TRUE(HasTimeColumn(lines[0])) << lines[0];
      EXPECT_EQ(lines[0].substr(9), "value 7 of x");
      break;
    default:
      EXPECT_EQ(lines[0], "value 7 of x");
  }
}

INSTANTIATE_TEST_SUITE_P(SettingsAndLevels, TraceLevelTest,
                         ::testing::Values(LevelCase{1, 0, 4}, LevelCase{1, 1, 1},
                                           LevelCase{1, 2, 1}, LevelCase{1, 3, 0},
                                           LevelCase{2, 3, 1}, LevelCase{2, 1, 1},
                                           LevelCase{2, 4, 0}, LevelCase{2, -1, 0}));

TEST_F(TraceLogTest, CutsTextsAt1023Characters) {
  MakeLogFolder();
  ASSERT_TRUE(TraceStart(2, fileName_.c_str()));
  std::string text;
  for (int i = 0; i < 2000; ++i) text += static_cast<char>('a' + i % 26);
  QUORLOG(3, "%s", text.c_str());
  const std::vector<std::string> lines = ReadLines(LogFile());
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0], text.substr(0, 1023));
}

TEST_F(TraceLogTest, WithoutLogFolderEveryLineFollowsTheWarning) {
  const fs::path home = here_ / "home";
  fs::create_directory(home);
  const std::string lists[] = {"", (home.string() + ";" + (here_ / "missing").string())};
  for (const std::string& list : lists) {
    platform::SetEnvironmentVariable("QUORHOME", list.empty() ? nullptr : list.c_str());
    ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
    EXPECT_EQ(TraceBuildPath(), -1);
    EXPECT_EQ(std::string(TraceFullPath()), fileName_);
    QUORLOG(2, "first");
    QUORLOG(2, "second");
    const std::vector<std::string> lines = ReadLines(here_ / fileName_);
    ASSERT_EQ(lines.size(), 4U) << list;
    for (size_t i = 0; i < lines.size(); ++i) {
      EXPECT_TRUE(HasTimeColumn(lines[i])) << lines[i];
      EXPECT_EQ(lines[i].substr(9), i % 2 == 0 ? kWarning : (i == 1 ? "first" : "second"));
    }
    TraceReset();
    fs::remove(here_ / fileName_);
  }
}

// Where TraceBuildPath puts the file. Folders are relative to the test's
// temporary folder; "{}" in the home list stands for it.
struct PathCase {
  const char* name;
  const char* fileName;                 // null: no name set
  std::vector<std::string> logEntries;  // folders that get an entry "log"
  const char* homeList;                 // null: QUORHOME unset
  int32_t result;
  const char* expectedPath;  // "{}" stands for the test folder
};

class TraceBuildPathTest : public TraceLogTest, public ::testing::WithParamInterface<PathCase> {};

std::string Expand(const std::string& pattern, const std::string& folder) {
  std::string result = pattern;
  for (size_t at; (at = result.find("{}")) != std::string::npos;) result.replace(at, 2, folder);
  return result;
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
  if (c.homeList != nullptr) {
    platform::SetEnvironmentVariable("QUORHOME", Expand(c.homeList, here_.string()).c_str());
  }
  ASSERT_TRUE(TraceStart(1, c.fileName));
  EXPECT_EQ(TraceBuildPath(), c.result);
  EXPECT_EQ(std::string(TraceFullPath()), Expand(c.expectedPath, here_.string()));
}

INSTANTIATE_TEST_SUITE_P(
    Locations, TraceBuildPathTest,
    ::testing::Values(
        PathCase{"absolute_path", "/var/x.log", {"."}, nullptr, 1, "/var/x.log"},
        PathCase{"drive_letter", "D:\\t\\x.log", {"."}, nullptr, 1, "D:\\t\\x.log"},
        PathCase{
            "network_path", "\\\\srv\\share\\x.log", {"."}, nullptr, 1, "\\\\srv\\share\\x.log"},
        PathCase{"current_folder", "x.log", {"."}, nullptr, 1, "{}/log/x.log"},
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
        PathCase{"subfolder_name", "sub/x.log", {"."}, nullptr, 1, "{}/log/sub/x.log"},
        PathCase{"nothing_found", "x.log", {"a"}, "{}/missing", -1, "x.log"}),
    [](const ::testing::TestParamInfo<PathCase>& p) { return std::string(p.param.name); });

TEST_F(TraceLogTest, LogFolderTooDeepForTheNameFallsBackToTheCurrentFolder) {
  const fs::path deep = here_ / std::string(240, 'd');
  fs::create_directories(deep / "log");
  platform::SetEnvironmentVariable("QUORHOME", deep.c_str());
  ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
  EXPECT_EQ(TraceBuildPath(), -1);
  QUORLOG(2, "kept");
  const std::vector<std::string> lines = ReadLines(here_ / fileName_);
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].substr(9), kWarning);
  EXPECT_EQ(lines[1].substr(9), "kept");
  EXPECT_TRUE(fs::is_empty(deep / "log"));
}

TEST_F(TraceLogTest, PathThatCannotFitDropsTheLine) {
  // 259 characters fit with the terminator; 260 do not.
  const std::string folder = here_.string() + "/";
  const std::string fits = folder + std::string(259 - folder.size(), 'f');
  const std::string tooLong = folder + std::string(260 - folder.size(), 'g');
  ASSERT_TRUE(TraceStart(1, fits.c_str()));
  EXPECT_EQ(TraceBuildPath(), 1);
  QUORLOG(2, "fits");
  EXPECT_EQ(ReadLines(fits).size(), 1U);
  TraceReset();

  ASSERT_TRUE(TraceStart(1, tooLong.c_str()));
  EXPECT_EQ(TraceBuildPath(), 0);
  EXPECT_STREQ(TraceFullPath(), "");
  QUORLOG(2, "dropped");
  EXPECT_FALSE(fs::exists(tooLong));

  // A bare name that alone cannot fit is dropped too.
  TraceReset();
  const std::string longName(260, 'h');
  ASSERT_TRUE(TraceStart(1, longName.c_str()));
  EXPECT_EQ(TraceBuildPath(), 0);
}

// The source location belongs to the writer: another thread setting its own
// between this thread's TraceSetSource and TraceWrite does not show up.
TEST_F(TraceLogTest, SourceLocationIsEachWritersOwn) {
  MakeLogFolder();
  ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
  ZTraceLock lock(1);
  TraceSetSource(__FILE__, 1234);
  std::thread([] { TraceSetSource("elsewhere.cpp", 1); }).join();
  TraceWrite(1, "mine");
  const std::vector<std::string> lines = ReadLines(LogFile());
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].substr(9), EventTail(platform::CurrentThreadId(), 1234, "mine"));
}

// Another thread holds the trace mutex through its own handle of the name
// while this thread writes one line.
struct WaitCase {
  const char* name;
  int32_t setting;
  int32_t level;
  int minMs;
  int maxMs;
  size_t lines;
};

class TraceWaitTest : public TraceLogTest, public ::testing::WithParamInterface<WaitCase> {};

TEST_P(TraceWaitTest, WaitsBoundedAndWritesAnyway) {
  const WaitCase& c = GetParam();
  MakeLogFolder();
  ASSERT_TRUE(TraceStart(c.setting, fileName_.c_str()));
  platform::NamedMutex* other = platform::CreateNamedMutex(fileName_.c_str());
  ASSERT_NE(other, nullptr);
  std::promise<void> taken;
  std::promise<void> done;
  std::thread holder([&] {
    const bool ok = platform::WaitNamedMutex(other, 0) == platform::MutexWait::kAcquired;
    taken.set_value();
    done.get_future().wait();
    if (ok) platform::ReleaseNamedMutex(other);
  });
  taken.get_future().wait();

  const auto start = Clock::now();
  QUORLOG(c.level, "after the wait");
  const auto waited =
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count();
  done.set_value();
  holder.join();
  platform::CloseNamedMutex(other);

  EXPECT_GE(waited, c.minMs);
  EXPECT_LT(waited, c.maxMs);
  EXPECT_EQ(ReadLines(LogFile()).size(), c.lines);
}

INSTANTIATE_TEST_SUITE_P(
    Waits, TraceWaitTest,
    ::testing::Values(WaitCase{"verbose_below_setting_2_never_waits", 1, 3, 0, 100, 0},
                      WaitCase{"verbose_waits_111ms", 2, 3, 105, 500, 1},
                      WaitCase{"event_waits_555ms", 1, 1, 545, 1500, 1}),
    [](const ::testing::TestParamInfo<WaitCase>& p) { return std::string(p.param.name); });

TEST_F(TraceLogTest, TakesOverTheMutexOfAWriterThatDied) {
  MakeLogFolder();
  ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
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

// Each writer tags its lines with its own thread id; the lock guarantees the
// thread column (module-wide) matches, and no line is torn.
void ExpectWholeLines(const std::vector<std::string>& lines, size_t expected,
                      std::map<uint32_t, size_t>* perThread) {
  EXPECT_EQ(lines.size(), expected);
  for (const std::string& line : lines) {
    std::smatch match;
    ASSERT_TRUE(HasTimeColumn(line)) << line;
    ASSERT_TRUE(std::regex_search(line, match, kWriterTag)) << line;
    const std::string column = line.substr(9, line.find('|', 9) - 9);
    EXPECT_EQ(std::stoul(column), std::stoul(match[1].str())) << line;
    const std::string filler =
        line.substr(static_cast<size_t>(match.position(0) + match.length(0)));
    EXPECT_EQ(filler.size(), 600U) << line;
    EXPECT_EQ(filler.find_first_not_of(filler[0]), std::string::npos) << line;
    ++(*perThread)[static_cast<uint32_t>(std::stoul(match[1].str()))];
  }
}

void WriteTaggedLines(int count, char letter) {
  const uint32_t me = platform::CurrentThreadId();
  const std::string filler(600, letter);
  for (int i = 0; i < count; ++i) QUORLOG(1, "writer %u %s", me, filler.c_str());
}

TEST_F(TraceLogTest, LinesOfManyThreadsNeverMix) {
  MakeLogFolder();
  ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
  constexpr int kThreads = 4;
  constexpr int kLines = 100;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back(WriteTaggedLines, kLines, static_cast<char>('a' + t));
  }
  for (std::thread& thread : threads) thread.join();

  std::map<uint32_t, size_t> perThread;
  ExpectWholeLines(ReadLines(LogFile()), kThreads * kLines, &perThread);
  EXPECT_EQ(perThread.size(), static_cast<size_t>(kThreads));
  for (const auto& [thread, count] : perThread) EXPECT_EQ(count, size_t{kLines}) << thread;
}

TEST_F(TraceLogTest, LinesOfTwoProcessesNeverMix) {
  MakeLogFolder();
  ASSERT_TRUE(TraceStart(1, fileName_.c_str()));
  constexpr int kLines = 150;
  int ready[2];
  ASSERT_EQ(::pipe(ready), 0);
  const pid_t pid = ::fork();
  if (pid == 0) {
    // Join the trace as another process would: by name.
    TraceReset();
    const bool started = TraceStart(1, fileName_.c_str());
    const char go = 'g';
    const bool signalled = ::write(ready[1], &go, 1) == 1;
    WriteTaggedLines(kLines, 'c');
    TraceReset();
    ::_exit(started && signalled ? 0 : 1);
  }
  ASSERT_GT(pid, 0);
  char go = 0;
  EXPECT_EQ(::read(ready[0], &go, 1), 1);
  WriteTaggedLines(kLines, 'p');
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  ::close(ready[0]);
  ::close(ready[1]);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);

  std::map<uint32_t, size_t> perThread;
  ExpectWholeLines(ReadLines(LogFile()), 2 * kLines, &perThread);
  EXPECT_EQ(perThread[platform::CurrentThreadId()], size_t{kLines});
  EXPECT_EQ(perThread[static_cast<uint32_t>(pid)], size_t{kLines}) << "the child's main thread";
}

// Decoders write verbose lines with long arguments; this must compile with
// format checking and write the text at setting 2.
TEST_F(TraceLogTest, VerboseLineWithLongArgument) {
  MakeLogFolder();
  ASSERT_TRUE(TraceStart(2, fileName_.c_str()));
  const int64_t x = -12345678901;
  QUORLOG(3, "NAVT %ld", static_cast<long>(x));
  EXPECT_EQ(ReadLines(LogFile()), std::vector<std::string>{"NAVT -12345678901"});
}

}  // namespace
