// A stdio stream that writes into memory, for code that prints to a FILE*.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace xsetest {

class MemoryStream {
 public:
  MemoryStream() : file_(::open_memstream(&buffer_, &size_)) {}
  MemoryStream(const MemoryStream&) = delete;
  MemoryStream& operator=(const MemoryStream&) = delete;
  ~MemoryStream() {
    if (file_ != nullptr) std::fclose(file_);
    std::free(buffer_);
  }
  std::FILE* file() const { return file_; }
  // Everything written so far.
  std::string Text() {
    std::fflush(file_);
    return buffer_ != nullptr ? std::string(buffer_, size_) : std::string();
  }

 private:
  char* buffer_ = nullptr;
  size_t size_ = 0;
  std::FILE* file_;
};

}  // namespace xsetest
