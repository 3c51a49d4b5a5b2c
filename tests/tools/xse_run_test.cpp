// `xse run` as users and scripts run it: events, outcomes, exit codes, and
// Ctrl-C.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "support/runtool.h"
#include "support/runtoolwith.h"
#include "support/tempdir.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using xsetest::PositionFrames;
using xsetest::RunXse;
using xsetest::TempDir;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string Progress(int64_t percent, int64_t done, int64_t total) {
  return "{\"event\":\"progress\",\"percent\":" + std::to_string(percent) +
         ",\"done\":" + std::to_string(done) + ",\"total\":" + std::to_string(total) + "}";
}

TEST(XseRun, EventsOfOneFileInOrder) {
  TempDir dir;
  const auto bytes = PositionFrames(2, 1660867200, 123456);
  const std::string file = dir.Write("nav.xse", bytes);
  const int64_t total = static_cast<int64_t>(bytes.size());
  const int64_t frame = total / 2;
  const auto result = RunXse({"run", "--events", file});
  EXPECT_EQ(result.status, 0) << result.err;
  // The first step consumes the first frame up to its end marker, the
  // second that marker and the second frame up to its own.
  EXPECT_THAT(
      Lines(result.out),
      ElementsAre(Progress(0, 0, total), Progress((frame - 4) * 100 / total, frame - 4, total),
                  Progress((total - 4) * 100 / total, total - 4, total),
                  Progress(100, total - 4, total),
                  "{\"event\":\"fileAdded\",\"file\":\"" + file + "\"}",
                  "{\"event\":\"finished\",\"result\":0,\"startTimeSet\":1,"
                  "\"startTimeSec\":1660867200,\"startTimeMs\":123}"));
}

TEST(XseRun, MissingMiddleFileIsLeftOut) {
  TempDir dir;
  const std::string first = dir.Write("first.xse", PositionFrames(2));
  const std::string third = dir.Write("third.xse", PositionFrames(2));
  const std::string missing = dir.File("second.xse");

  const auto events = RunXse({"run", "--events", first, missing, third});
  EXPECT_EQ(events.status, 1);
  std::vector<std::string> outcomes;
  for (const auto& line : Lines(events.out)) {
    if (line.find("\"progress\"") == std::string::npos) outcomes.push_back(line);
  }
  EXPECT_THAT(outcomes, ElementsAre("{\"event\":\"fileAdded\",\"file\":\"" + first + "\"}",
                                    "{\"event\":\"fileAdded\",\"file\":\"" + third + "\"}",
                                    HasSubstr("{\"event\":\"finished\",\"result\":0,")));

  const auto plain = RunXse({"run", first, missing, third});
  EXPECT_EQ(plain.status, 1);
  EXPECT_EQ(plain.out, first + ": read\n" + missing + ": not recognised\n" + third + ": read\n");
}

TEST(XseRun, ExtensionCheckCanBeSwitchedOff) {
  TempDir dir;
  const std::string file = dir.Write("survey.dat", PositionFrames(1));
  const auto checked = RunXse({"run", "--events", file});
  EXPECT_EQ(checked.status, 1);
  // Nothing left to read: the plug-in's run returns at once.
  EXPECT_EQ(checked.out,
            "{\"event\":\"finished\",\"result\":0,\"startTimeSet\":0,\"startTimeSec\":0,"
            "\"startTimeMs\":0}\n");
  const auto unchecked = RunXse({"run", "--no-ext-check", file});
  EXPECT_EQ(unchecked.status, 0) << unchecked.err;
  EXPECT_EQ(unchecked.out, file + ": read\n");
}

TEST(XseRun, UsageErrors) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"run"}, std::vector<std::string>{"run", "--bogus", "a.xse"}}) {
    const auto result = RunXse(args);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, HasSubstr("usage: xse run"));
  }
}

TEST(XseRun, ModuleThatDoesNotLoadIsReported) {
  TempDir dir;
  const auto result = xsetest::RunToolWith(XSE_XSE_TOOL, {"run", "a.xse"}, dir.path().string(),
                                           {{"XSE_READER_MODULE", dir.File("none.so")}});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("xse run: cannot load the reader plug-in: "));
}

// Starts `xse run --events` on `files` with its standard output on a pipe
// the test reads itself.
class Child {
 public:
  explicit Child(const std::vector<std::string>& files) {
    int fds[2];
    if (::pipe(fds) != 0) return;
    pid_ = ::fork();
    if (pid_ == 0) {
      ::dup2(fds[1], STDOUT_FILENO);
      const int devNull = ::open("/dev/null", O_WRONLY);
      ::dup2(devNull, STDERR_FILENO);
      ::close(fds[0]);
      ::close(fds[1]);
      std::vector<std::string> args = {"xse", "run", "--events"};
      args.insert(args.end(), files.begin(), files.end());
      std::vector<char*> argv;
      argv.reserve(args.size() + 1);
      for (auto& arg : args) argv.push_back(arg.data());
      argv.push_back(nullptr);
      ::execv(XSE_XSE_TOOL, argv.data());
      ::_exit(127);
    }
    ::close(fds[1]);
    out_ = fds[0];
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (out_ >= 0) ::close(out_);
    if (pid_ > 0 && !reaped_) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
  }

  bool started() const { return pid_ > 0 && out_ >= 0; }
  pid_t pid() const { return pid_; }

  // Reads until at least `atLeast` bytes have come, the output ends, or
  // `timeout` passes.
  void Read(size_t atLeast, std::chrono::milliseconds timeout) {
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (text_.size() < atLeast && std::chrono::steady_clock::now() < deadline) {
      pollfd ready{out_, POLLIN, 0};
      if (::poll(&ready, 1, 100) <= 0) continue;
      char buffer[4096];
      const ssize_t count = ::read(out_, buffer, sizeof buffer);
      if (count <= 0) return;
      text_.append(buffer, static_cast<size_t>(count));
    }
  }
  // The exit status, or -1 when it did not end normally.
  int Wait() {
    int status = 0;
    ::waitpid(pid_, &status, 0);
    reaped_ = true;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  const std::string& text() const { return text_; }

 private:
  pid_t pid_ = -1;
  int out_ = -1;
  bool reaped_ = false;
  std::string text_;
};

TEST(XseRun, CtrlCStopsTheRunWithoutReportingTheCurrentFile) {
  TempDir dir;
  const std::string file = dir.Write("long.xse", PositionFrames(200));
  // Each file reports about a hundred progress lines: many files fill the
  // pipe, so the reader thread waits on it in the middle of the run while
  // the test sends the interrupt.
  const std::vector<std::string> files(40, file);
  Child child(files);
  ASSERT_TRUE(child.started());
  child.Read(1, std::chrono::seconds(30));
  ASSERT_FALSE(child.text().empty());
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  ASSERT_EQ(::kill(child.pid(), SIGINT), 0);
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  child.Read(SIZE_MAX, std::chrono::seconds(60));
  EXPECT_EQ(child.Wait(), 130);

  const std::vector<std::string> lines = Lines(child.text());
  ASSERT_GE(lines.size(), 2u);
  EXPECT_THAT(lines.back(), HasSubstr("{\"event\":\"finished\",\"result\":-1,"));
  EXPECT_THAT(lines[lines.size() - 2], HasSubstr("{\"event\":\"progress\",\"percent\":100,"));
  size_t added = 0;
  for (const auto& line : lines) added += line.find("fileAdded") != std::string::npos ? 1u : 0u;
  EXPECT_LT(added, files.size());
}

}  // namespace
