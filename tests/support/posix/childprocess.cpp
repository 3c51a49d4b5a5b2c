// Child processes with fork and exec. Everything the child needs is made
// before the fork: between fork and exec a child of a threaded program may
// only make calls that take no locks.
#include "support/childprocess.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "platform/errortext.h"

extern char** environ;

namespace xsetest {

namespace {

// The test's environment with `changes` applied, as "NAME=value" texts.
std::vector<std::string> ChildEnvironment(const EnvironmentList& changes) {
  std::vector<std::string> entries;
  for (char** entry = environ; *entry != nullptr; ++entry) {
    const std::string_view text(*entry);
    const std::string_view name = text.substr(0, text.find('='));
    bool changed = false;
    for (const auto& change : changes) changed = changed || change.first == name;
    if (!changed) entries.emplace_back(text);
  }
  for (const auto& [name, value] : changes) {
    if (value) entries.push_back(name + "=" + *value);
  }
  return entries;
}

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

ChildProcess::ChildProcess(const std::string& program, const std::vector<std::string>& args,
                           const ChildOptions& options) {
  std::vector<std::string> argv{program};
  argv.insert(argv.end(), args.begin(), args.end());
  std::vector<std::string> envp = ChildEnvironment(options.environment);
  std::vector<char*> argvPointers = Pointers(argv), envpPointers = Pointers(envp);

  const std::string inputFrom = options.inputFrom.empty() ? "/dev/null" : options.inputFrom;
  const int input = ::open(inputFrom.c_str(), O_RDONLY | O_CLOEXEC);
  const int error =
      ::open((capture_.path() / "err").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  int output = -1;
  if (options.outputToPipe) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) == 0) {
      pipe_ = ends[0];
      output = ends[1];
    }
  } else {
    output =
        ::open((capture_.path() / "out").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  }
  if (input >= 0 && output >= 0 && error >= 0) {
    const char* workDir = options.workDir.empty() ? nullptr : options.workDir.c_str();
    const pid_t pid = ::fork();
    if (pid == 0) {
      // dup2 clears close-on-exec on the copies.
      if (::dup2(input, 0) < 0 || ::dup2(output, 1) < 0 || ::dup2(error, 2) < 0 ||
          (workDir != nullptr && ::chdir(workDir) != 0))
        ::_exit(127);
      ::execve(argvPointers[0], argvPointers.data(), envpPointers.data());
      ::_exit(127);
    }
    if (pid > 0) {
      process_ = pid;
      id_ = static_cast<uint32_t>(pid);
      started_ = true;
    }
  }
  const int failure = errno;  // of the open, pipe or fork that failed
  for (int descriptor : {input, output, error}) {
    if (descriptor >= 0) ::close(descriptor);
  }
  if (!started_)
    result_ =
        ToolResult{-1, "", "cannot start " + program + ": " + platform::ErrorText(failure) + "\n"};
}

ChildProcess::~ChildProcess() {
  if (started_ && !result_) {
    ::kill(static_cast<pid_t>(process_), SIGKILL);
    Wait();
  }
  if (pipe_ >= 0) ::close(static_cast<int>(pipe_));
}

bool ChildProcess::Interrupt() {
  return started_ && !result_ && ::kill(static_cast<pid_t>(process_), SIGINT) == 0;
}

bool ChildProcess::DrainPipe(std::string& into, std::chrono::milliseconds timeout) {
  pollfd ready{static_cast<int>(pipe_), POLLIN, 0};
  if (::poll(&ready, 1, static_cast<int>(timeout.count())) <= 0) return true;
  char chunk[65536];
  const ssize_t count = ::read(static_cast<int>(pipe_), chunk, sizeof chunk);
  if (count <= 0) return false;
  into.append(chunk, static_cast<size_t>(count));
  return true;
}

ToolResult ChildProcess::Wait(std::chrono::milliseconds timeout) {
  if (result_) return *result_;
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  const auto pid = static_cast<pid_t>(process_);
  int status = 0;
  bool ended = false, killed = false, pipeOpen = pipe_ >= 0;
  while (!ended) {
    // The pipe is emptied while waiting: a child that fills it would wait
    // for the test otherwise.
    if (pipeOpen) {
      pipeOpen = DrainPipe(pipedOut_, std::chrono::milliseconds(10));
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ended = ::waitpid(pid, &status, WNOHANG) == pid;
    if (!ended && !killed && std::chrono::steady_clock::now() > deadline) {
      ::kill(pid, SIGKILL);
      killed = true;
    }
  }
  // The rest of the output; bounded, in case the child left the pipe to a
  // process of its own.
  const auto drainEnd = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (pipeOpen && std::chrono::steady_clock::now() < drainEnd)
    pipeOpen = DrainPipe(pipedOut_, std::chrono::milliseconds(100));
  ToolResult result;
  result.status = !killed && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  result.out = pipe_ >= 0 ? pipedOut_ : ReadWholeFile(capture_.path() / "out");
  result.err = ReadWholeFile(capture_.path() / "err");
  result_ = result;
  return result;
}

}  // namespace xsetest
