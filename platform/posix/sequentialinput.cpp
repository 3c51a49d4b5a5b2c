#include "platform/sequentialinput.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

#include "platform/errortext.h"

namespace platform {

bool IsSequentialSource(const std::string& path) {
  if (path == kStandardInputName) return true;
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return false;
  return S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode) || S_ISSOCK(status.st_mode);
}

SequentialInput::~SequentialInput() { Close(); }

bool SequentialInput::Open(const std::string& path) {
  Close();
  error_.clear();
  if (path == kStandardInputName) {
    handle_ = STDIN_FILENO;
    owned_ = false;
    return true;
  }
  int descriptor;
  do {
    descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) {
    error_ = ErrorText(errno);
    return false;
  }
  handle_ = descriptor;
  owned_ = true;
  return true;
}

void SequentialInput::Close() {
  if (handle_ != kNoHandle && owned_) ::close(static_cast<int>(handle_));
  handle_ = kNoHandle;
  owned_ = false;
}

std::optional<size_t> SequentialInput::Read(std::span<uint8_t> into) {
  if (handle_ == kNoHandle) {
    error_ = ErrorText(EBADF);
    return std::nullopt;
  }
  const size_t asked = std::min<size_t>(into.size(), std::numeric_limits<ssize_t>::max());
  for (;;) {
    const ssize_t count = ::read(static_cast<int>(handle_), into.data(), asked);
    if (count >= 0) return static_cast<size_t>(count);
    if (errno == EINTR) continue;
    error_ = ErrorText(errno);
    return std::nullopt;
  }
}

}  // namespace platform
