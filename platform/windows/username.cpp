#include "platform/username.h"

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

namespace platform {

std::optional<std::string> CurrentUserName() {
  // User names are at most 256 characters (UNLEN); the buffer grows once
  // should a system allow more.
  std::wstring name(257, L'\0');
  DWORD size = static_cast<DWORD>(name.size());
  if (!::GetUserNameW(name.data(), &size)) {
    if (::GetLastError() != ERROR_INSUFFICIENT_BUFFER) return std::nullopt;
    name.resize(size);
    if (!::GetUserNameW(name.data(), &size)) return std::nullopt;
  }
  // `size` counts the terminator.
  name.resize(size > 0 ? size - 1 : 0);
  if (name.empty()) return std::nullopt;
  return NarrowToUtf8(name);
}

}  // namespace platform
