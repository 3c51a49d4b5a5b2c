#include "platform/environment.h"

#include <cstdlib>

namespace platform {

std::optional<std::string> GetEnvironmentVariable(const char* name) {
  if (name == nullptr) return std::nullopt;
  const char* value = std::getenv(name);
  if (value == nullptr) return std::nullopt;
  return std::string(value);
}

bool SetEnvironmentVariable(const char* name, const char* value) {
  if (name == nullptr || *name == '\0') return false;
  if (value == nullptr) return ::unsetenv(name) == 0;
  return ::setenv(name, value, 1) == 0;
}

}  // namespace platform
