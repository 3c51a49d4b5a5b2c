#include "platform/environment.h"

#include <cstdlib>
#include <cstring>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

// The process keeps two environments: the system's block, which child
// processes inherit and which tells an empty variable from a missing one,
// and the C runtime's copy behind getenv, which cannot hold an empty value
// (setting one removes the variable). Reads and writes go to the system's
// block; writes are mirrored into the runtime's copy so that getenv in other
// code agrees, except that an empty value is missing there.

namespace platform {

std::optional<std::string> GetEnvironmentVariable(const char* name) {
  if (name == nullptr || *name == '\0') return std::nullopt;
  const std::wstring wideName = WidenUtf8(name);
  std::wstring value(64, L'\0');
  for (int attempt = 0; attempt < 4; ++attempt) {
    ::SetLastError(ERROR_SUCCESS);
    const DWORD length =
        ::GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size()));
    if (length == 0) {
      // 0 is both "missing" and "empty"; the error code tells them apart.
      if (::GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
      return std::string();
    }
    if (length < value.size()) {
      value.resize(length);
      return NarrowToUtf8(value);
    }
    value.resize(length);  // too small: `length` counts the terminator
  }
  return std::nullopt;  // the variable kept growing under us
}

bool SetEnvironmentVariable(const char* name, const char* value) {
  if (name == nullptr || *name == '\0' || std::strchr(name, '=') != nullptr) return false;
  const std::wstring wideName = WidenUtf8(name);
  const std::wstring wideValue = value != nullptr ? WidenUtf8(value) : std::wstring();
  // The runtime first: removing from its copy also removes from the block.
  ::_wputenv_s(wideName.c_str(), wideValue.c_str());
  return ::SetEnvironmentVariableW(wideName.c_str(),
                                   value != nullptr ? wideValue.c_str() : nullptr) != 0;
}

}  // namespace platform
