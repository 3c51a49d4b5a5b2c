// InputFileStream: a standard binary input stream over a ReadOnlyFile with a
// read buffer of its own. Seeks that land inside the buffer cost nothing,
// which matters to a reader that checks a frame's end marker and then seeks
// back to read the frame.
#pragma once

#include <istream>
#include <memory>
#include <streambuf>
#include <string>

#include "platform/file.h"

namespace platform {

class FileStreamBuf final : public std::streambuf {
 public:
  explicit FileStreamBuf(size_t bufferSize = size_t{256} * 1024);

  bool Open(const std::string& path);
  bool IsOpen() const { return file_.IsOpen(); }
  bool Close();
  const std::string& error() const { return file_.error(); }

 protected:
  int_type underflow() override;
  std::streamsize xsgetn(char_type* into, std::streamsize count) override;
  pos_type seekoff(off_type offset, std::ios_base::seekdir direction,
                   std::ios_base::openmode which) override;
  pos_type seekpos(pos_type position, std::ios_base::openmode which) override;

 private:
  uint64_t Position() const;
  void Reposition(uint64_t position);

  ReadOnlyFile file_;
  std::unique_ptr<char[]> buffer_;
  size_t bufferSize_;
  uint64_t bufferStart_ = 0;  // file offset of the buffer's first byte
};

class InputFileStream final : public std::istream {
 public:
  InputFileStream() : std::istream(nullptr) { rdbuf(&buffer_); }

  // Opens `path`; clears the stream's state on success and sets failbit on
  // failure (the reason is in error()).
  void open(const std::string& path);
  bool is_open() const { return buffer_.IsOpen(); }
  // Closes the file; sets failbit when closing fails.
  void close();
  const std::string& error() const { return buffer_.error(); }

 private:
  FileStreamBuf buffer_;
};

}  // namespace platform
