// Bytes read in order from a source that cannot seek: standard input, a
// FIFO, a character device. A read waits until bytes arrive or the writer
// closes its end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace platform {

// The name that stands for standard input.
inline constexpr const char* kStandardInputName = "-";

// Whether `path` names a source that can only be read in order: "-", or an
// existing FIFO, socket or character device (/dev/stdin when standard input
// is a pipe, a named pipe on Windows). Asks without opening, so it never
// blocks; false for a regular file, a folder or a name that does not exist.
bool IsSequentialSource(const std::string& path);

class SequentialInput {
 public:
  SequentialInput() = default;
  SequentialInput(const SequentialInput&) = delete;
  SequentialInput& operator=(const SequentialInput&) = delete;
  ~SequentialInput();

  // Opens `path` for reading in order; "-" is standard input, which Close
  // leaves open. Opening a FIFO waits for its writer. On failure returns
  // false and error() tells why in words.
  bool Open(const std::string& path);
  bool IsOpen() const { return handle_ != kNoHandle; }
  void Close();

  // Reads up to `into.size()` bytes, waiting for at least one. The count
  // read, 0 once the writer has closed and everything was read, or nothing
  // on a read error (error() tells why).
  std::optional<size_t> Read(std::span<uint8_t> into);

  const std::string& error() const { return error_; }

 private:
  static constexpr intptr_t kNoHandle = -1;
  intptr_t handle_ = kNoHandle;  // the system's descriptor or handle
  bool owned_ = false;           // false for standard input
  std::string error_;
};

}  // namespace platform
