// Runs the xse tool as a user would and captures what it printed; also
// other tools in a given folder and environment, as child processes whose
// process-wide state (loaded modules, trace files) stays apart from the
// test's.
#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/childprocess.h"
#include "support/tempdir.h"

namespace xsetest {

// A text file the system wrote (settings, logs), with its line ends read as
// '\n': Windows ends lines in text files with "\r\n".
inline std::string ReadTextFile(const std::filesystem::path& path) {
  std::ifstream in(path);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// The lines of `text`, without their '\n' ends.
inline std::vector<std::string> SplitLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// Runs the xse tool with `args`; stdin is empty.
inline ToolResult RunXse(const std::vector<std::string>& args) {
  return RunChild(XSE_XSE_TOOL, args);
}

// Runs the xse tool with `args`, its standard input read from `inputFile`.
inline ToolResult RunXseReading(const std::string& inputFile,
                                const std::vector<std::string>& args) {
  ChildOptions options;
  options.inputFrom = inputFile;
  return RunChild(XSE_XSE_TOOL, args, options);
}

// Runs `program` with `args` in `workDir`, with `environment` applied to
// the test's own; stdin is empty.
inline ToolResult RunToolWith(const std::string& program, const std::vector<std::string>& args,
                              const std::string& workDir, const EnvironmentList& environment) {
  return RunChild(program, args, {workDir, environment});
}

}  // namespace xsetest
