#include "platform/filestream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace platform {

namespace {

// Reads ahead only once this many buffers in a row were filled
// sequentially: a reader that looks at the start of a file and stops (a
// file check) never starts a thread.
constexpr unsigned kSequentialFillsBeforeReadAhead = 2;
// The read-ahead ring: four blocks of four buffers each. The reading thread
// runs on while the caller works on one of them; large blocks keep the
// hand-overs (a thread wake-up each when one side waits) rare.
constexpr size_t kReadAheadBlocks = 4;
constexpr size_t kReadAheadBlockBuffers = 4;

}  // namespace

FileStreamBuf::FileStreamBuf(size_t bufferSize) : bufferSize_(std::max<size_t>(bufferSize, 1)) {}

FileStreamBuf::~FileStreamBuf() { readAhead_.reset(); }

bool FileStreamBuf::Open(const std::string& path) {
  readAhead_.reset();
  sequentialFills_ = 0;
  if (!file_.Open(path)) return false;
  if (!buffer_) buffer_ = AllocatePageAligned(bufferSize_);
  bufferStart_ = 0;
  setg(base(), base(), base());
  return true;
}

bool FileStreamBuf::Close() {
  readAhead_.reset();  // it reads from the file
  sequentialFills_ = 0;
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
    setg(base(), base(), base());
  }
}

FileStreamBuf::int_type FileStreamBuf::underflow() {
  if (!file_.IsOpen()) return traits_type::eof();
  if (gptr() < egptr()) return traits_type::to_int_type(*gptr());
  if (Fill(Position()) == 0) return traits_type::eof();
  return traits_type::to_int_type(*gptr());
}

size_t FileStreamBuf::Fill(uint64_t position) {
  if (readAhead_ != nullptr) {
    if (readAhead_->Continues(position)) {
      if (const auto block = readAhead_->Next()) {
        // The get area is only ever read from.
        char* bytes = const_cast<char*>(reinterpret_cast<const char*>(block->data()));
        bufferStart_ = position;
        sequentialEnd_ = position + block->size();
        setg(bytes, bytes, bytes + block->size());
        return block->size();
      }
    } else {
      readAhead_->Stop();  // a seek: what it read is not wanted
    }
  }
  const std::optional<size_t> count = file_.ReadAt(position, {buffer_.get(), bufferSize_});
  bufferStart_ = position;
  if (!count || *count == 0) {
    setg(base(), base(), base());
    sequentialFills_ = 0;
    return 0;
  }
  setg(base(), base(), base() + *count);
  ReadNextAhead(position, *count);
  return *count;
}

void FileStreamBuf::ReadNextAhead(uint64_t position, size_t count) {
  sequentialFills_ = position == sequentialEnd_ ? sequentialFills_ + 1 : 0;
  sequentialEnd_ = position + count;
  // A short read is the end of the data for now: nothing to read ahead.
  if (count < bufferSize_ || sequentialFills_ < kSequentialFillsBeforeReadAhead) return;
  if (readAhead_ == nullptr) {
    if (readAheadFailed_) return;
    try {
      readAhead_ = std::make_unique<ReadAhead>(file_, kReadAheadBlockBuffers * bufferSize_,
                                               kReadAheadBlocks);
    } catch (...) {
      // Without memory or a thread, reading goes on without read ahead.
      readAheadFailed_ = true;
      return;
    }
  }
  readAhead_->Start(sequentialEnd_);
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
      sequentialFills_ = 0;
      const uint64_t position = Position();
      const auto read = file_.ReadAt(position, {reinterpret_cast<uint8_t*>(into + done), left});
      if (!read || *read == 0) break;
      done += static_cast<std::streamsize>(*read);
      bufferStart_ = position + *read;
      setg(base(), base(), base());
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
