#include "platform/windows/win32error.h"

#include <cerrno>
#include <string_view>

#include "platform/errortext.h"
#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

namespace platform {

int ErrnoFromWin32Error(unsigned long code) {
  switch (code) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_BAD_PATHNAME:
    case ERROR_MOD_NOT_FOUND:
      return ENOENT;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_CURRENT_DIRECTORY:
    case ERROR_NETWORK_ACCESS_DENIED:
      return EACCES;
    case ERROR_TOO_MANY_OPEN_FILES:
      return EMFILE;
    case ERROR_INVALID_HANDLE:
      return EBADF;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
    case ERROR_COMMITMENT_LIMIT:
      return ENOMEM;
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return EEXIST;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return ENOSPC;
    case ERROR_WRITE_PROTECT:
      return EROFS;
    case ERROR_NOT_SAME_DEVICE:
      return EXDEV;
    case ERROR_DIRECTORY:
      return ENOTDIR;
    case ERROR_DIR_NOT_EMPTY:
      return ENOTEMPTY;
    case ERROR_FILENAME_EXCED_RANGE:
      return ENAMETOOLONG;
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
      return EPIPE;
    case ERROR_NEGATIVE_SEEK:
    case ERROR_INVALID_PARAMETER:
      return EINVAL;
    case ERROR_NOT_SUPPORTED:
      return ENOTSUP;
    case ERROR_CALL_NOT_IMPLEMENTED:
      return ENOSYS;
    case ERROR_BUSY:
      return EBUSY;
    case ERROR_OPERATION_ABORTED:
      return ECANCELED;
    case ERROR_CRC:
    case ERROR_READ_FAULT:
    case ERROR_WRITE_FAULT:
    case ERROR_IO_DEVICE:
      return EIO;
    default:
      return 0;
  }
}

std::string Win32ErrorText(unsigned long code) {
  if (const int error = ErrnoFromWin32Error(code); error != 0) return ErrorText(error);
  wchar_t* message = nullptr;
  const DWORD length = ::FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US),
      reinterpret_cast<wchar_t*>(&message), 0, nullptr);
  std::string text;
  if (length > 0 && message != nullptr) {
    // The system ends its messages with a full stop and a line break.
    std::wstring_view view(message, length);
    while (!view.empty() && (view.back() == L'\n' || view.back() == L'\r' || view.back() == L'.' ||
                             view.back() == L' ')) {
      view.remove_suffix(1);
    }
    text = NarrowToUtf8(view);
  }
  if (message != nullptr) ::LocalFree(message);
  return text.empty() ? "Windows error " + std::to_string(code) : text;
}

}  // namespace platform
