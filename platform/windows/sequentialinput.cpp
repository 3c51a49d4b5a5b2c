#include "platform/sequentialinput.h"

#include <algorithm>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"
#include "platform/windows/win32error.h"

namespace platform {
namespace {

HANDLE HandleOf(intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

// Named pipes live under \\.\pipe\ (either slash); opening one to ask its
// type would take one of its instances, so the name alone decides.
bool IsPipeName(const std::string& path) {
  if (path.size() < 9) return false;
  std::string prefix = path.substr(0, 9);
  std::replace(prefix.begin(), prefix.end(), '/', '\\');
  std::transform(prefix.begin(), prefix.end(), prefix.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return prefix == "\\\\.\\pipe\\";
}

}  // namespace

bool IsSequentialSource(const std::string& path) {
  return path == kStandardInputName || IsPipeName(path);
}

SequentialInput::~SequentialInput() { Close(); }

bool SequentialInput::Open(const std::string& path) {
  Close();
  error_.clear();
  if (path == kStandardInputName) {
    // The handle itself: reads bypass the C runtime's text mode.
    HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
    if (input == nullptr || input == INVALID_HANDLE_VALUE) {
      error_ = Win32ErrorText(ERROR_INVALID_HANDLE);
      return false;
    }
    handle_ = reinterpret_cast<intptr_t>(input);
    owned_ = false;
    return true;
  }
  HANDLE handle =
      ::CreateFileW(WidenUtf8(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    error_ = Win32ErrorText(::GetLastError());
    return false;
  }
  handle_ = reinterpret_cast<intptr_t>(handle);
  owned_ = true;
  return true;
}

void SequentialInput::Close() {
  if (handle_ != kNoHandle && owned_) ::CloseHandle(HandleOf(handle_));
  handle_ = kNoHandle;
  owned_ = false;
}

std::optional<size_t> SequentialInput::Read(std::span<uint8_t> into) {
  if (handle_ == kNoHandle) {
    error_ = Win32ErrorText(ERROR_INVALID_HANDLE);
    return std::nullopt;
  }
  const auto asked = static_cast<DWORD>(std::min<size_t>(into.size(), 1u << 30));
  DWORD count = 0;
  if (::ReadFile(HandleOf(handle_), into.data(), asked, &count, nullptr)) return size_t{count};
  const DWORD error = ::GetLastError();
  // A pipe whose writer has gone ends like a file.
  if (error == ERROR_BROKEN_PIPE || error == ERROR_HANDLE_EOF) return size_t{0};
  error_ = Win32ErrorText(error);
  return std::nullopt;
}

}  // namespace platform
