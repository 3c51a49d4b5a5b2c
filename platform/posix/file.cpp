#include "platform/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

namespace platform {

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
  // Without O_NONBLOCK, opening a FIFO waits for a writer and a device may
  // wait for its hardware: the type is checked before anything can block.
  int descriptor;
  do {
    descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  } while (descriptor < 0 && errno == EINTR);
  if (descriptor < 0) {
    error_ = std::strerror(errno);
    return false;
  }
  struct stat status {};
  if (::fstat(descriptor, &status) != 0) {
    error_ = std::strerror(errno);
    ::close(descriptor);
    return false;
  }
  if (!S_ISREG(status.st_mode)) {
    ::close(descriptor);
    error_ = kNotARegularFile;
    return false;
  }
  // Reads of a regular file never block; the flag is dropped all the same
  // so that the descriptor behaves as an ordinary one.
  const int flags = ::fcntl(descriptor, F_GETFL);
  if (flags >= 0) ::fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK);
  descriptor_ = descriptor;
  return true;
}

bool ReadOnlyFile::Close() {
  if (descriptor_ < 0) return true;
  const int result = ::close(std::exchange(descriptor_, -1));
  return result == 0;
}

std::optional<uint64_t> ReadOnlyFile::Size() const {
  struct stat status {};
  if (descriptor_ < 0 || ::fstat(descriptor_, &status) != 0) return std::nullopt;
  return static_cast<uint64_t>(status.st_size);
}

std::optional<size_t> ReadOnlyFile::ReadAt(uint64_t offset, std::span<uint8_t> into) const {
  if (descriptor_ < 0) return std::nullopt;
  size_t done = 0;
  while (done < into.size()) {
    const ssize_t count = ::pread(descriptor_, into.data() + done, into.size() - done,
                                  static_cast<off_t>(offset + done));
    if (count < 0) {
      if (errno == EINTR) continue;
      if (done > 0) break;
      return std::nullopt;
    }
    if (count == 0) break;
    done += static_cast<size_t>(count);
  }
  return done;
}

}  // namespace platform
