#include "platform/privateprofile.h"

#include <string_view>
#include <vector>

#include "platform/paths.h"
#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

// The system's own profile functions, so that a file the host reads and
// writes the same way sees the same values. The header's rules that those
// functions do not keep by themselves are kept here: names checked before
// the call, relative paths made absolute (the system would look for them in
// the Windows folder), and the size limit.

namespace platform {
namespace {

constexpr std::string_view kBlanks = " \t";

std::string_view TrimRight(std::string_view text) {
  const size_t last = text.find_last_not_of(kBlanks);
  return last == std::string_view::npos ? std::string_view() : text.substr(0, last + 1);
}

std::string_view Trim(std::string_view text) {
  const size_t first = text.find_first_not_of(kBlanks);
  return first == std::string_view::npos ? std::string_view() : TrimRight(text.substr(first));
}

std::string CutToBuffer(std::string_view text, size_t bufferSize) {
  if (bufferSize == 0) return std::string();
  return std::string(text.substr(0, bufferSize - 1));
}

std::wstring WideAbsolutePath(const std::string& path) { return WidenUtf8(AbsolutePath(path)); }

bool HasLineBreak(std::string_view text) {
  return text.find_first_of("\r\n") != std::string_view::npos;
}

// Whether the file at `path` is missing, or a regular file no larger than
// the limit.
bool MayBeWritten(const std::wstring& path) {
  WIN32_FILE_ATTRIBUTE_DATA attributes{};
  if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &attributes)) {
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_NOT_FOUND;
  }
  if ((attributes.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return false;
  const uint64_t size = (uint64_t{attributes.nFileSizeHigh} << 32) | attributes.nFileSizeLow;
  return size <= kMaxProfileFileSize;
}

}  // namespace

std::string ReadProfileString(const std::string& path, const std::string& section,
                              const std::string& key, const std::string& defaultValue,
                              std::size_t bufferSize) {
  std::string fallback = CutToBuffer(TrimRight(defaultValue), bufferSize);
  const std::string_view sectionName = Trim(section);
  const std::string_view keyName = Trim(key);
  if (sectionName.empty() || keyName.empty() || bufferSize == 0) return fallback;
  const std::wstring file = WideAbsolutePath(path);
  if (file.empty()) return fallback;

  // The system counts the buffer in UTF-16 units and the caller in bytes:
  // the value is read whole (up to the line length read at all), then cut.
  std::vector<wchar_t> value(kMaxProfileLineLength + 1, L'\0');
  const std::wstring missing = L"\x01";  // no value can hold a control character
  const DWORD length = ::GetPrivateProfileStringW(
      WidenUtf8(sectionName).c_str(), WidenUtf8(keyName).c_str(), missing.c_str(), value.data(),
      static_cast<DWORD>(value.size()), file.c_str());
  const std::wstring_view read(value.data(), length);
  if (read == missing) return fallback;
  return CutToBuffer(NarrowToUtf8(read), bufferSize);
}

bool WriteProfileString(const std::string& path, const std::string& section, const std::string& key,
                        const std::string& value) {
  const std::string_view sectionName = Trim(section);
  const std::string_view keyName = Trim(key);
  if (sectionName.empty() || keyName.empty() || HasLineBreak(section) || HasLineBreak(key) ||
      HasLineBreak(value) || sectionName.find(']') != std::string_view::npos ||
      keyName.find('=') != std::string_view::npos || keyName.front() == ';' ||
      keyName.front() == '[') {
    return false;
  }
  const std::wstring file = WideAbsolutePath(path);
  if (file.empty() || !MayBeWritten(file)) return false;
  return ::WritePrivateProfileStringW(WidenUtf8(sectionName).c_str(), WidenUtf8(keyName).c_str(),
                                      WidenUtf8(value).c_str(), file.c_str()) != 0;
}

}  // namespace platform
