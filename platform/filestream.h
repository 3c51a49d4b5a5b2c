// InputFileStream: a standard binary input stream over a ReadOnlyFile with a
// read buffer of its own. Seeks that land inside the buffer cost nothing,
// which matters to a reader that checks a frame's end marker and then seeks
// back to read the frame.
//
// Once the stream is read sequentially past its first buffers, a thread of
// its own reads ahead (a ring of four blocks of four buffers) while the caller
// works on the current one; a seek elsewhere drops them. Reads are made in
// file order at the positions they are for: a file that grows while it is
// read shows its new bytes (after a short read ahead the stream reads on by
// itself), and one that shrinks ends where it now ends, give or take the
// buffers read ahead before it shrank (a plain read keeps the buffer it
// holds in the same way).
#pragma once

#include <istream>
#include <memory>
#include <streambuf>
#include <string>

#include "platform/file.h"
#include "platform/pagealigned.h"
#include "platform/readahead.h"

namespace platform {

class FileStreamBuf final : public std::streambuf {
 public:
  explicit FileStreamBuf(size_t bufferSize = size_t{256} * 1024);
  ~FileStreamBuf() override;

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
  // Fills the get area at `position` from the read ahead when it read
  // there (the get area then lies in its block), else by reading now. The count of bytes now ready
  // (0 at the end of the data or on a read error).
  size_t Fill(uint64_t position);
  // Starts reading ahead behind the buffer at `position` (of `count`
  // bytes), once reading has gone on sequentially.
  void ReadNextAhead(uint64_t position, size_t count);

  // The buffer as the stream's characters.
  char* base() const { return reinterpret_cast<char*>(buffer_.get()); }

  ReadOnlyFile file_;
  PageAlignedBytes buffer_;
  size_t bufferSize_;
  uint64_t bufferStart_ = 0;    // file offset of the buffer's first byte
  uint64_t sequentialEnd_ = 0;  // where the last fill ended
  unsigned sequentialFills_ = 0;
  bool readAheadFailed_ = false;          // no thread could be started
  std::unique_ptr<ReadAhead> readAhead_;  // last: ends before the buffers go
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
