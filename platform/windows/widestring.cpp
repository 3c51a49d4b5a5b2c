#include "platform/windows/widestring.h"

#include <limits>

#include "platform/windows/win32.h"

namespace platform {

std::wstring WidenUtf8(std::string_view text) {
  if (text.empty() || text.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return {};
  const int length = static_cast<int>(text.size());
  const int needed = ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  if (needed <= 0) return {};
  std::wstring wide(static_cast<size_t>(needed), L'\0');
  ::MultiByteToWideChar(CP_UTF8, 0, text.data(), length, wide.data(), needed);
  return wide;
}

std::string NarrowToUtf8(std::wstring_view text) {
  if (text.empty() || text.size() > static_cast<size_t>(std::numeric_limits<int>::max())) return {};
  const int length = static_cast<int>(text.size());
  const int needed =
      ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  if (needed <= 0) return {};
  std::string narrow(static_cast<size_t>(needed), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, narrow.data(), needed, nullptr, nullptr);
  return narrow;
}

}  // namespace platform
