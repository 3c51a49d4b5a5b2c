// --dead-after: a server host that vanishes (no end, no reset) ends a live
// run, while a server that is only silent does not. A stopped server
// process is the silent kind: its system still answers for it. A vanished
// host is played in a network namespace of the test's own by taking its
// loopback interface down mid-session, so nothing answers any more.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "platform/tcpsocket.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using namespace xsetest;

// The exit status of a namespace child that could not make its namespace.
constexpr int kNoNamespace = 77;

bool WriteFile(const char* path, const std::string& text) {
  std::ofstream out(path);
  out << text;
  return static_cast<bool>(out.flush());
}

// A user and network namespace for this process alone, so that a user
// without privileges may take its interfaces up and down.
bool EnterOwnNetwork() {
  const std::string uid = std::to_string(::getuid()), gid = std::to_string(::getgid());
  return ::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 &&
         WriteFile("/proc/self/setgroups", "deny") &&
         WriteFile("/proc/self/uid_map", "0 " + uid + " 1") &&
         WriteFile("/proc/self/gid_map", "0 " + gid + " 1");
}

bool SetLoopbackUp(bool up) {
  const int fd = ::socket(AF_INET, SOCK_DGRAM, 0);
  ifreq request{};
  std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
  bool done = fd >= 0 && ::ioctl(fd, SIOCGIFFLAGS, &request) == 0;
  if (done) {
    request.ifr_flags =
        static_cast<short>(up ? (request.ifr_flags | IFF_UP) : (request.ifr_flags & ~IFF_UP));
    done = ::ioctl(fd, SIOCSIFFLAGS, &request) == 0;
  }
  if (fd >= 0) ::close(fd);
  return done;
}

// `xse dump --connect` of a slow server until the first records arrived;
// then `between` runs, and the dump's result and the time from then to
// its end are returned.
template <typename Between>
ToolResult DumpAcross(const std::string& survey, const std::string& port,
                      const std::string& interval, const std::string& deadAfter, Between between,
                      std::chrono::milliseconds& took) {
  ChildProcess serve(XSE_XSE_TOOL, {"serve", "--port", port, "--chunk", "4000", "--interval-ms",
                                    interval, "--wait", "10", survey});
  ChildOptions piped;
  piped.outputToPipe = true;
  ChildProcess dump(XSE_XSE_TOOL,
                    {"dump", "--connect", "127.0.0.1:" + port, "--dead-after", deadAfter}, piped);
  std::string out = dump.ReadOutput(1, 10s);
  between(serve);
  const auto start = std::chrono::steady_clock::now();
  ToolResult result = dump.Wait(20s);
  took = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() -
                                                               start);
  result.out = out + result.out;
  return result;
}

class DeadPeerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(RunXse({"gen", "--duration", "1", "--seed", "3", survey_}).status, 0);
  }
  TempDir dir_;
  const std::string survey_ = dir_.File("survey.xse");
};

TEST_F(DeadPeerTest, AStoppedButAnsweringServerIsNotTakenForDead) {
  uint16_t port = 0;
  platform::CloseSocket(platform::ListenOnLoopback(port));
  std::chrono::milliseconds took{};
  const ToolResult run = DumpAcross(
      survey_, std::to_string(port), "50", "1",
      [](ChildProcess& serve) {
        ::kill(static_cast<pid_t>(serve.Id()), SIGSTOP);
        std::this_thread::sleep_for(2500ms);
        ::kill(static_cast<pid_t>(serve.Id()), SIGCONT);
      },
      took);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_EQ(run.out, RunXse({"dump", survey_}).out);
}

TEST_F(DeadPeerTest, AVanishedServerEndsTheRunAfterTheTimeGiven) {
  int report[2];
  ASSERT_EQ(::pipe2(report, O_CLOEXEC), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    // Alone in the namespace: the server, the dump, and the interface.
    ::close(report[0]);
    if (!EnterOwnNetwork() || !SetLoopbackUp(true)) ::_exit(kNoNamespace);
    std::string text;
    {
      std::chrono::milliseconds took{};
      const ToolResult run = DumpAcross(
          survey_, "5000", "200", "2", [](ChildProcess&) { SetLoopbackUp(false); }, took);
      text = std::to_string(run.status) + "\n" + std::to_string(took.count()) + "\n" + run.err;
    }
    const bool written =
        ::write(report[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
    ::_exit(written ? 0 : 1);
  }
  ::close(report[1]);
  std::string text;
  char buffer[4096];
  for (ssize_t got; (got = ::read(report[0], buffer, sizeof buffer)) > 0;)
    text.append(buffer, static_cast<size_t>(got));
  ::close(report[0]);
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  if (WEXITSTATUS(status) == kNoNamespace) GTEST_SKIP() << "no network namespace of our own";
  ASSERT_EQ(WEXITSTATUS(status), 0);
  const std::vector<std::string> lines = SplitLines(text);
  ASSERT_GE(lines.size(), 3u) << text;
  EXPECT_EQ(lines[0], "1");
  // Two seconds allowed, and a little for the probe's timer and the exit.
  EXPECT_LT(std::stoi(lines[1]), 5000);
  EXPECT_THAT(lines[2], HasSubstr("no answer from the server for 2 s"));
}

}  // namespace
