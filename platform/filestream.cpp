#include "platform/filestream.h"

#include <algorithm>
#include <cstring>

namespace platform {

FileStreamBuf::FileStreamBuf(size_t bufferSize) : bufferSize_(bufferSize) {}

bool FileStreamBuf::Open(const std::string& path) {
  if (!file_.Open(path)) return false;
  if (!buffer_) buffer_ = std::make_unique<char[]>(bufferSize_);
  bufferStart_ = 0;
  setg(buffer_.get(), buffer_.get(), buffer_.get());
  return true;
}

bool FileStreamBuf::Close() {
  setg(nullptr, nullptr, nullptr);
  bufferStart_ = 0;
  return file_.Close();
}

uint64_t FileStreamBuf::Position() const {
  return bufferStart_ + static_cast<uint64_t>(gptr() - eback());
}

void FileStreamBuf::Reposition(uint64_t position) {
  const uint64_t filled = static_cast<uint64_t>(egptr() - eback());
  if (position >= bufferStart_ && position <= bufferStart_ + filled) {
    setg(eback(), eback() + (position - bufferStart_), egptr());
  } else {
    bufferStart_ = position;
    setg(buffer_.get(), buffer_.get(), buffer_.get());
  }
}

FileStreamBuf::int_type FileStreamBuf::underflow() {
  if (!file_.IsOpen()) return traits_type::eof();
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  const uint64_t position = Position();
  const auto count =
      file_.ReadAt(position, {reinterpret_cast<uint8_t*>(buffer_.get()), bufferSize_});
  bufferStart_ = position;
  if (!count || *count == 0) {
    setg(buffer_.get(), buffer_.get(), buffer_.get());
    return traits_type::eof();
  }
  setg(buffer_.get(), buffer_.get(), buffer_.get() + *count);
  return traits_type::to_int_type(*gptr());
}

std::streamsize FileStreamBuf::xsgetn(char_type* into, std::streamsize count) {
  if (!file_.IsOpen() || count <= 0) return 0;
  std::streamsize done = 0;
  while (done < count) {
    const std::streamsize available = egptr() - gptr();
    if (available > 0) {
      const std::streamsize now = std::min(available, count - done);
      std::memcpy(into + done, gptr(), static_cast<size_t>(now));
      gbump(static_cast<int>(now));
      done += now;
      continue;
    }
    // Large reads go straight into the caller's memory.
    const auto left = static_cast<size_t>(count - done);
    if (left >= bufferSize_) {
      const uint64_t position = Position();
      const auto read = file_.ReadAt(position, {reinterpret_cast<uint8_t*>(into + done), left});
      if (!read || *read == 0) break;
      done += static_cast<std::streamsize>(*read);
      bufferStart_ = position + *read;
      setg(buffer_.get(), buffer_.get(), buffer_.get());
      continue;
    }
    if (traits_type::eq_int_type(underflow(), traits_type::eof())) break;
  }
  return done;
}

FileStreamBuf::pos_type FileStreamBuf::seekoff(off_type offset, std::ios_base::seekdir direction,
                                               std::ios_base::openmode which) {
  if (!file_.IsOpen() || (which & std::ios_base::in) == 0) return pos_type(off_type(-1));
  int64_t base = 0;
  if (direction == std::ios_base::cur) {
    base = static_cast<int64_t>(Position());
  } else if (direction == std::ios_base::end) {
    const auto size = file_.Size();
    if (!size) return pos_type(off_type(-1));
    base = static_cast<int64_t>(*size);
  }
  const int64_t target = base + offset;
  if (target < 0) return pos_type(off_type(-1));
  Reposition(static_cast<uint64_t>(target));
  return pos_type(off_type(target));
}

FileStreamBuf::pos_type FileStreamBuf::seekpos(pos_type position, std::ios_base::openmode which) {
  return seekoff(off_type(position), std::ios_base::beg, which);
}

void InputFileStream::open(const std::string& path) {
  if (buffer_.Open(path)) {
    clear();
  } else {
    setstate(std::ios_base::failbit);
  }
}

void InputFileStream::close() {
  if (!buffer_.Close()) setstate(std::ios_base::failbit);
}

}  // namespace platform
