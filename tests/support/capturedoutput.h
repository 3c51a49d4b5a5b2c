// A stdio stream that captures into memory what code prints to a FILE*.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace xsetest {

class CapturedOutput {
 public:
  CapturedOutput() : file_(::open_memstream(&buffer_, &size_)) {}
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;
  ~CapturedOutput() {
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
