// Process environment variables.
#pragma once

#include <optional>
#include <string>

namespace platform {

// The value of `name`, or nothing when the variable is not set. A variable
// set to the empty string yields an empty value, not nothing.
std::optional<std::string> GetEnvironmentVariable(const char* name);

// Sets `name` to `value`, or removes it when `value` is null. True on success.
// Not safe against concurrent readers: meant for start-up and tests.
bool SetEnvironmentVariable(const char* name, const char* value);

}  // namespace platform
