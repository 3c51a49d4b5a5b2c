// Helpers shared by the support library tests.
#pragma once

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/environment.h"
#include "platform/messagebox.h"

namespace libsystest {

// Sets (or, with null, removes) an environment variable for one scope.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value)
      : name_(name), saved_(platform::GetEnvironmentVariable(name)) {
    platform::SetEnvironmentVariable(name, value);
  }
  ~ScopedEnvironment() {
    platform::SetEnvironmentVariable(name_, saved_ ? saved_->c_str() : nullptr);
  }
  ScopedEnvironment(const ScopedEnvironment&) = delete;
  ScopedEnvironment& operator=(const ScopedEnvironment&) = delete;

 private:
  const char* name_;
  std::optional<std::string> saved_;
};

// The lines of a text file, without their ends; none when it cannot be read.
inline std::vector<std::string> ReadLines(const std::filesystem::path& path) {
  std::vector<std::string> lines;
  std::ifstream in(path);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

// Collects message boxes, caption and text, instead of showing them.
struct CollectedBoxes : std::vector<std::pair<std::string, std::string>> {
  platform::ScopedMessageBoxHandler handler{
      [this](const std::string& caption, const std::string& text) { emplace_back(caption, text); }};
};

}  // namespace libsystest
