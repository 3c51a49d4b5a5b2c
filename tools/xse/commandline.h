// The one option parser of the tool's commands. A command declares its
// options in a table (flags and options with a value) and gets its operands
// back; the parser owns the wording of every usage error, `--help`, and `--`.
//
//   CommandLine line("info", kUsage, kHelp);
//   line.Flag("--json", json);
//   line.Value("--limit", [&](std::string_view v) { return SetLimit(v); });
//   if (const auto exit = line.Parse(args)) return *exit;
//   for (const std::string& file : line.operands()) ...
#pragma once

#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace xsetool {

class CommandLine {
 public:
  // Takes an option's value; false when the text is not a valid value.
  using ValueTaker = std::function<bool(std::string_view value)>;

  // `command` names the command in messages ("xse COMMAND: ..."); `usage`
  // and `help` are printed by --help, `usage` after every usage error.
  CommandLine(std::string_view command, std::string_view usage, std::string_view help);

  // An option without a value: sets `target` when present.
  void Flag(std::string_view name, bool& target);
  // An option with a value, given as `--name VALUE` or `--name=VALUE`.
  void Value(std::string_view name, ValueTaker take);

  // Parses `args` (without the command's name). Returns nothing when the
  // command should go on with operands(); otherwise the exit status to
  // return: 0 after --help or -h, 2 after a usage error (printed on stderr).
  // `--` ends the options: everything after it is an operand, and so is a
  // lone `-`.
  std::optional<int> Parse(std::span<const std::string_view> args);

  const std::vector<std::string>& operands() const { return operands_; }

  // Prints "xse COMMAND: MESSAGE" and the usage on stderr; returns 2.
  int UsageError(std::string_view message) const;

 private:
  struct Option {
    std::string name;
    bool* flag = nullptr;
    ValueTaker take;
  };
  const Option* Find(std::string_view name) const;

  std::string command_;
  std::string usage_;
  std::string help_;
  std::vector<Option> options_;
  std::vector<std::string> operands_;
};

}  // namespace xsetool
