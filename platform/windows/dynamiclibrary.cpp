#include "platform/dynamiclibrary.h"

#include <algorithm>
#include <utility>

#include "platform/paths.h"
#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"
#include "platform/windows/win32error.h"

namespace platform {
namespace {

std::string LastError(const std::string& subject) {
  return subject + ": " + Win32ErrorText(::GetLastError());
}

}  // namespace

DynamicLibrary::DynamicLibrary(DynamicLibrary&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), error_(std::move(other.error_)) {}

DynamicLibrary& DynamicLibrary::operator=(DynamicLibrary&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, nullptr);
    error_ = std::move(other.error_);
  }
  return *this;
}

bool DynamicLibrary::Open(const std::string& path) {
  Close();
  error_.clear();
  // A path with a folder is loaded as named, and its own folder is searched
  // first for the libraries it needs in turn (which takes an absolute
  // path); a bare name goes through the system's search (the program's
  // folder, the system folders, PATH).
  const bool hasFolder = path.find_first_of("/\\") != std::string::npos;
  std::wstring widePath = WidenUtf8(hasFolder ? AbsolutePath(path) : path);
  std::replace(widePath.begin(), widePath.end(), L'/', L'\\');
  // No error box of the system's own for a library or drive that is missing.
  DWORD previousMode = 0;
  const bool quiet =
      ::SetThreadErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX, &previousMode) != 0;
  HMODULE module =
      ::LoadLibraryExW(widePath.c_str(), nullptr, hasFolder ? LOAD_WITH_ALTERED_SEARCH_PATH : 0);
  const DWORD error = ::GetLastError();
  if (quiet) ::SetThreadErrorMode(previousMode, nullptr);
  if (module == nullptr) {
    ::SetLastError(error);
    error_ = LastError(path);
    return false;
  }
  handle_ = reinterpret_cast<void*>(module);
  return true;
}

bool DynamicLibrary::Close() {
  if (handle_ == nullptr) return true;
  const bool closed = ::FreeLibrary(static_cast<HMODULE>(std::exchange(handle_, nullptr))) != 0;
  if (!closed) error_ = LastError("cannot unload library");
  return closed;
}

void* DynamicLibrary::Symbol(const char* name) {
  if (handle_ == nullptr || name == nullptr) {
    error_ = "library not loaded";
    return nullptr;
  }
  const FARPROC address = ::GetProcAddress(static_cast<HMODULE>(handle_), name);
  if (address == nullptr) {
    error_ = LastError(name);
    return nullptr;
  }
  void* data = nullptr;
  static_assert(sizeof data == sizeof address);
  __builtin_memcpy(&data, &address, sizeof data);
  return data;
}

}  // namespace platform
