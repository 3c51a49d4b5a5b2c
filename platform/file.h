// Read-only access to a file by offset. Opening never locks the file for
// others: a file a recorder is still writing can be read at the same time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace platform {

class ReadOnlyFile {
 public:
  static constexpr const char* kNotARegularFile = "not a regular file";

  ReadOnlyFile() = default;
  ReadOnlyFile(const ReadOnlyFile&) = delete;
  ReadOnlyFile& operator=(const ReadOnlyFile&) = delete;
  ReadOnlyFile(ReadOnlyFile&& other) noexcept;
  ReadOnlyFile& operator=(ReadOnlyFile&& other) noexcept;
  ~ReadOnlyFile();

  // Opens `path` for reading. On failure returns false and `error()` tells
  // why in words (such as "No such file or directory"). Only regular files
  // are opened: a directory, FIFO, socket or device is refused at once,
  // without blocking, as kNotARegularFile.
  bool Open(const std::string& path);
  bool IsOpen() const { return descriptor_ >= 0; }
  // Closes the file; false when the system reported an error.
  bool Close();

  // Current size in bytes, or nothing when it cannot be asked.
  std::optional<uint64_t> Size() const;
  // Reads up to `into.size()` bytes at `offset`. Returns the count read
  // (0 at the end of the file), or nothing on a read error.
  std::optional<size_t> ReadAt(uint64_t offset, std::span<uint8_t> into) const;

  const std::string& error() const { return error_; }

 private:
  int descriptor_ = -1;
  std::string error_;
};

}  // namespace platform
