// Runs the xse tool as a user would and captures what it printed; also
// other tools in a given folder and environment, as child processes whose
// process-wide state (loaded modules, trace files) stays apart from the
// test's.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "support/tempdir.h"

namespace xsetest {

struct ToolResult {
  int status = -1;
  std::string out;
  std::string err;

  bool operator==(const ToolResult&) const = default;
  // All three parts, so a failed comparison shows what the tool did.
  friend void PrintTo(const ToolResult& result, std::ostream* os) {
    *os << "exit " << result.status << ", out \"" << result.out << "\", err \"" << result.err
        << "\"";
  }
};

inline std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

inline std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Runs a shell command line with stdin empty, capturing what it printed.
inline ToolResult RunCaptured(std::string command) {
  TempDir capture;
  command +=
      " </dev/null >" + ShellQuote(capture.File("out")) + " 2>" + ShellQuote(capture.File("err"));
  const int raw = std::system(command.c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, ReadWholeFile(capture.File("out")),
          ReadWholeFile(capture.File("err"))};
}

// `program` and `args` as one quoted command line.
inline std::string CommandLine(const std::string& program, const std::vector<std::string>& args) {
  std::string command = ShellQuote(program);
  for (const auto& arg : args) command += " " + ShellQuote(arg);
  return command;
}

// Runs the xse tool with `args`; stdin is empty.
inline ToolResult RunXse(const std::vector<std::string>& args) {
  return RunCaptured(CommandLine(XSE_XSE_TOOL, args));
}

using EnvironmentList = std::vector<std::pair<std::string, std::string>>;

// Runs `program` with `args` in `workDir`, with `environment` added to the
// test's own; stdin is empty.
inline ToolResult RunToolWith(const std::string& program, const std::vector<std::string>& args,
                              const std::string& workDir, const EnvironmentList& environment) {
  std::string command = "cd " + ShellQuote(workDir) + " && env";
  for (const auto& [name, value] : environment) command += " " + ShellQuote(name + "=" + value);
  return RunCaptured(command + " " + CommandLine(program, args));
}

}  // namespace xsetest
