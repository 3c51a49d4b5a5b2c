// Runs a program as a child process, as a user or a script would: standard
// input empty or from a file, standard output and error captured, the exit status kept. The
// child's process-wide state (loaded modules, trace files, signal handling)
// stays apart from the test's. One implementation per system, in posix/ and
// windows/ beside this file.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "support/tempdir.h"

namespace xsetest {

struct ToolResult {
  int status = -1;  // the exit status; -1 when the child did not end by itself
  std::string out;
  std::string err;

  bool operator==(const ToolResult&) const = default;
  // All three parts, so a failed comparison shows what the tool did.
  friend void PrintTo(const ToolResult& result, std::ostream* os) {
    *os << "exit " << result.status << ", out \"" << result.out << "\", err \"" << result.err
        << "\"";
  }
};

// Changes to the child's environment, which is the test's otherwise: a name
// with a value is set, a name without one removed.
using EnvironmentList = std::vector<std::pair<std::string, std::optional<std::string>>>;

struct ChildOptions {
  std::string workDir;  // UTF-8; empty: the test's current folder
  EnvironmentList environment;
  // Standard output goes through a pipe that the test reads with
  // ReadOutput; the child waits while the pipe is full. Otherwise into a
  // file, so the child never waits for the test.
  bool outputToPipe = false;
  // Standard input read from this file (UTF-8); empty: an empty input.
  std::string inputFrom{};
};

class ChildProcess {
 public:
  // Starts `program` (a UTF-8 path) with `args`, each passed on as one
  // argument exactly. Started() tells whether it runs; a program that cannot
  // be started at all reads as a run with status -1, nothing on standard
  // output and why on standard error.
  ChildProcess(const std::string& program, const std::vector<std::string>& args,
               const ChildOptions& options = {});
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  // A child still running is killed and waited for.
  ~ChildProcess();

  bool Started() const { return started_; }
  // The child's id as the system shows it; 0 when it did not start.
  uint32_t Id() const { return id_; }
  // Asks the child to stop as Ctrl-C at its terminal would (on Windows the
  // child has a process group of its own, which gets Ctrl-Break). False
  // when the request could not be sent.
  bool Interrupt();
  // With outputToPipe: waits for output and returns up to `limit` bytes of
  // it; empty at the end of the output or after `timeout`.
  std::string ReadOutput(size_t limit, std::chrono::milliseconds timeout);
  // Waits for the child to end, at most `timeout` (then it is killed and
  // the status is -1), and returns its status and what it printed (what is
  // left in the pipe with outputToPipe). Later calls return the same.
  ToolResult Wait(std::chrono::milliseconds timeout = std::chrono::minutes(2));

 private:
  // Reads what the pipe holds without waiting longer than `timeout`; false
  // at its end.
  bool DrainPipe(std::string& into, std::chrono::milliseconds timeout);

  TempDir capture_;
  bool started_ = false;
  std::optional<ToolResult> result_;
  std::string pipedOut_;
  intptr_t process_ = -1;  // the process id, or its handle on Windows
  intptr_t pipe_ = -1;     // the read end of the output pipe
  uint32_t id_ = 0;
};

// Starts `program` and waits for it (see ChildProcess).
ToolResult RunChild(const std::string& program, const std::vector<std::string>& args,
                    const ChildOptions& options = {});

}  // namespace xsetest
