#include "platform/file.h"

#include <fcntl.h>
#include <io.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"
#include "platform/windows/win32error.h"

// The file is held as a C runtime descriptor wrapping the system's handle,
// which keeps the class's layout the same on both systems; every operation
// works on the handle itself.

namespace platform {
namespace {

HANDLE HandleOf(int descriptor) { return reinterpret_cast<HANDLE>(::_get_osfhandle(descriptor)); }

}  // namespace

ReadOnlyFile::ReadOnlyFile(ReadOnlyFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), error_(std::move(other.error_)) {}

ReadOnlyFile& ReadOnlyFile::operator=(ReadOnlyFile&& other) noexcept {
  if (this != &other) {
    Close();
    descriptor_ = std::exchange(other.descriptor_, -1);
    error_ = std::move(other.error_);
  }
  return *this;
}

ReadOnlyFile::~ReadOnlyFile() { Close(); }

bool ReadOnlyFile::Open(const std::string& path) {
  Close();
  error_.clear();
  // Sharing everything lets a recorder go on writing, renaming or deleting
  // the file. Backup semantics open a folder too, so that it is refused as
  // not a regular file rather than as "Permission denied".
  HANDLE handle = ::CreateFileW(WidenUtf8(path).c_str(), GENERIC_READ,
                                FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    error_ = Win32ErrorText(::GetLastError());
    return false;
  }
  // Pipes, consoles and devices are not disk files; reading them could wait
  // for ever.
  BY_HANDLE_FILE_INFORMATION information{};
  if (::GetFileType(handle) != FILE_TYPE_DISK ||
      !::GetFileInformationByHandle(handle, &information) ||
      (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    ::CloseHandle(handle);
    error_ = kNotARegularFile;
    return false;
  }
  const int descriptor =
      ::_open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_RDONLY | _O_BINARY);
  if (descriptor < 0) {
    ::CloseHandle(handle);
    error_ = Win32ErrorText(ERROR_TOO_MANY_OPEN_FILES);
    return false;
  }
  descriptor_ = descriptor;
  return true;
}

bool ReadOnlyFile::Close() {
  if (descriptor_ < 0) return true;
  return ::_close(std::exchange(descriptor_, -1)) == 0;  // closes the handle as well
}

std::optional<uint64_t> ReadOnlyFile::Size() const {
  LARGE_INTEGER size{};
  if (descriptor_ < 0 || !::GetFileSizeEx(HandleOf(descriptor_), &size) || size.QuadPart < 0) {
    return std::nullopt;
  }
  return static_cast<uint64_t>(size.QuadPart);
}

std::optional<size_t> ReadOnlyFile::ReadAt(uint64_t offset, std::span<uint8_t> into) const {
  if (descriptor_ < 0) return std::nullopt;
  const HANDLE handle = HandleOf(descriptor_);
  size_t done = 0;
  while (done < into.size()) {
    // The offset travels with each read, so reads of several threads need
    // no shared file position.
    const uint64_t at = offset + done;
    OVERLAPPED position{};
    position.Offset = static_cast<DWORD>(at & 0xFFFFFFFFu);
    position.OffsetHigh = static_cast<DWORD>(at >> 32);
    const DWORD chunk = static_cast<DWORD>(
        std::min<size_t>(into.size() - done, std::numeric_limits<DWORD>::max() & ~DWORD{0xFFFF}));
    DWORD count = 0;
    if (!::ReadFile(handle, into.data() + done, chunk, &count, &position)) {
      if (::GetLastError() == ERROR_HANDLE_EOF) break;
      if (done > 0) break;
      return std::nullopt;
    }
    if (count == 0) break;
    done += count;
  }
  return done;
}

}  // namespace platform
