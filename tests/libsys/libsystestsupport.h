// Helpers shared by the support library tests.
#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>

#include "platform/environment.h"

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

// The whole content of a file; empty when it cannot be read.
inline std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

}  // namespace libsystest
