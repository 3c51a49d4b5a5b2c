#include "tools/xse/commandline.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

// Parses `args` for a command with a flag --json and a value --limit that
// takes digits only; returns what the command would see, or the exit status
// and the first line of the message.
std::string Outcome(std::vector<std::string_view> args) {
  bool json = false;
  std::string limit;
  xsetool::CommandLine line("demo", "usage: xse demo [--json] [--limit N] FILE...\n", "help\n");
  line.Flag("--json", json);
  line.Value("--limit", [&limit](std::string_view value) {
    limit = value;
    return !value.empty() && value.find_first_not_of("0123456789") == std::string_view::npos;
  });
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  const auto exit = line.Parse(args);
  const std::string err = testing::internal::GetCapturedStderr();
  const std::string out = testing::internal::GetCapturedStdout();
  if (exit)
    return "exit " + std::to_string(*exit) + ": " + (err + out).substr(0, (err + out).find('\n'));
  std::string seen =
      std::string(json ? "json " : "") + (limit.empty() ? "" : "limit=" + limit + " ");
  for (const std::string& operand : line.operands()) seen += "[" + operand + "]";
  return seen;
}

TEST(CommandLine, ParsesOptionsFromOneTableWithOneWording) {
  const std::pair<std::vector<std::string_view>, const char*> kCases[] = {
      {{"a.xse", "--json", "b.xse"}, "json [a.xse][b.xse]"},
      {{"--limit", "5", "a"}, "limit=5 [a]"},
      {{"--limit=7", "a"}, "limit=7 [a]"},
      {{"--", "-a.xse", "--json"}, "[-a.xse][--json]"},
      {{"-", "--json"}, "json [-]"},
      {{"--bogus", "a"}, "exit 2: xse demo: unknown option '--bogus'"},
      {{"a", "--bogus"}, "exit 2: xse demo: unknown option '--bogus'"},
      {{"--limit"}, "exit 2: xse demo: --limit needs a value"},
      {{"--limit", "x"}, "exit 2: xse demo: invalid value 'x' for --limit"},
      {{"--limit="}, "exit 2: xse demo: invalid value '' for --limit"},
      {{"--json=1"}, "exit 2: xse demo: --json takes no value"},
      {{"a", "-h", "--bogus"}, "exit 0: usage: xse demo [--json] [--limit N] FILE..."},
  };
  for (const auto& [args, expected] : kCases) EXPECT_EQ(Outcome(args), expected);
}

}  // namespace
