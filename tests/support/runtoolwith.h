// Runs a tool in a given folder with extra environment variables, as a
// child process whose process-wide state (loaded modules, trace files)
// stays apart from the test's.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "support/runtool.h"

namespace xsetest {

using EnvironmentList = std::vector<std::pair<std::string, std::string>>;

// Runs `program` with `args` in `workDir`, with `environment` added to the
// test's own; stdin is empty.
inline ToolResult RunToolWith(const std::string& program, const std::vector<std::string>& args,
                              const std::string& workDir, const EnvironmentList& environment) {
  TempDir capture;
  std::string command = "cd " + ShellQuote(workDir) + " && env";
  for (const auto& [name, value] : environment)
    command.append(" ").append(ShellQuote(std::string(name).append("=").append(value)));
  command.append(" ").append(ShellQuote(program));
  for (const auto& arg : args) command.append(" ").append(ShellQuote(arg));
  command.append(" </dev/null >").append(ShellQuote(capture.File("out")));
  command.append(" 2>").append(ShellQuote(capture.File("err")));
  ToolResult result;
  const int raw = std::system(command.c_str());
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.out = ReadWholeFile(capture.File("out"));
  result.err = ReadWholeFile(capture.File("err"));
  return result;
}

}  // namespace xsetest
