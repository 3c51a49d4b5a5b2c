#include "tools/xse/commandline.h"

#include <cstdio>
#include <utility>

#include "tools/xse/commands.h"

namespace xsetool {

CommandLine::CommandLine(std::string_view command, std::string_view usage, std::string_view help)
    : command_(command), usage_(usage), help_(help) {}

void CommandLine::Flag(std::string_view name, bool& target) {
  options_.push_back({std::string(name), &target, nullptr});
}

void CommandLine::Value(std::string_view name, ValueTaker take) {
  options_.push_back({std::string(name), nullptr, std::move(take)});
}

const CommandLine::Option* CommandLine::Find(std::string_view name) const {
  for (const Option& option : options_)
    if (option.name == name) return &option;
  return nullptr;
}

int CommandLine::UsageError(std::string_view message) const {
  std::fprintf(stderr, "xse %s: %.*s\n%s", command_.c_str(), static_cast<int>(message.size()),
               message.data(), usage_.c_str());
  return kExitUsage;
}

std::optional<int> CommandLine::Parse(std::span<const std::string_view> args) {
  operands_.clear();
  bool optionsEnded = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string_view arg = args[i];
    if (optionsEnded || arg.size() < 2 || arg.front() != '-') {
      operands_.emplace_back(arg);
      continue;
    }
    if (arg == "--") {
      optionsEnded = true;
      continue;
    }
    if (arg == "--help" || arg == "-h") {
      std::fputs(usage_.c_str(), stdout);
      std::fputs(help_.c_str(), stdout);
      return kExitOk;
    }
    const size_t equals = arg.find('=');
    const std::string_view name = arg.substr(0, equals);
    const Option* option = Find(name);
    if (option == nullptr) return UsageError("unknown option '" + std::string(name) + "'");
    if (option->flag != nullptr) {
      if (equals != std::string_view::npos)
        return UsageError(std::string(name) + " takes no value");
      *option->flag = true;
      continue;
    }
    std::string_view value;
    if (equals != std::string_view::npos) {
      value = arg.substr(equals + 1);
    } else if (i + 1 < args.size()) {
      value = args[++i];
    } else {
      return UsageError(std::string(name) + " needs a value");
    }
    if (!option->take(value))
      return UsageError("invalid value '" + std::string(value) + "' for " + std::string(name));
  }
  return std::nullopt;
}

}  // namespace xsetool
