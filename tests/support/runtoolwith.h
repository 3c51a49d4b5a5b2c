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
  std::string command = "cd " + ShellQuote(workDir) + " && env";
  for (const auto& [name, value] : environment) command += " " + ShellQuote(name + "=" + value);
  return RunCaptured(command + " " + CommandLine(program, args));
}

}  // namespace xsetest
