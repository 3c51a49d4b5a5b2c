#include "platform/username.h"

#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

namespace platform {

std::optional<std::string> CurrentUserName() {
  struct passwd entry {};
  struct passwd* found = nullptr;
  // Entries are small; the limit only stops a broken name service from
  // making the buffer grow forever.
  for (size_t size = 1024; size <= size_t{1024} * 1024; size *= 4) {
    std::vector<char> buffer(size);
    const int error = ::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found);
    if (error == ERANGE) continue;
    if (error != 0 || found == nullptr || found->pw_name == nullptr) return std::nullopt;
    return std::string(found->pw_name);
  }
  return std::nullopt;
}

}  // namespace platform
