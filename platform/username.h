// The name of the user the process runs as.
#pragma once

#include <optional>
#include <string>

namespace platform {

// The login name of the process's effective user, whole (a caller with a
// fixed buffer cuts it), or nothing when the system cannot tell.
std::optional<std::string> CurrentUserName();

}  // namespace platform
