// Runs the xse tool as a user would and captures what it printed.
#pragma once

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "support/tempdir.h"

namespace xsetest {

struct ToolResult {
  int status = -1;
  std::string out;
  std::string err;
};

inline std::string ShellQuote(const std::string& text) {
  std::string quoted = "'";
  for (char c : text) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

inline std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// Runs `program` with `args`; stdin is empty.
inline ToolResult RunTool(const std::string& program, const std::vector<std::string>& args) {
  TempDir dir;
  std::string command = ShellQuote(program);
  for (const auto& arg : args) command += " " + ShellQuote(arg);
  command += " </dev/null >" + ShellQuote(dir.File("out")) + " 2>" + ShellQuote(dir.File("err"));
  ToolResult result;
  const int raw = std::system(command.c_str());
  result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  result.out = ReadWholeFile(dir.File("out"));
  result.err = ReadWholeFile(dir.File("err"));
  return result;
}

inline ToolResult RunXse(const std::vector<std::string>& args) {
  return RunTool(XSE_XSE_TOOL, args);
}

}  // namespace xsetest
