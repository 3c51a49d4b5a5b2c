// A stdio stream that captures what code prints to a FILE*, in a file of a
// temporary folder (binary: line ends stay as written on every system).
#pragma once

#include <cstdio>
#include <string>

#include "support/tempdir.h"

namespace xsetest {

class CapturedOutput {
 public:
  // The stream's file name is ASCII inside the temporary folder; fopen takes
  // it in the system's 8-bit encoding, which path::string() gives.
  CapturedOutput() : file_(std::fopen((dir_.path() / "captured").string().c_str(), "w+b")) {}
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;
  ~CapturedOutput() {
    if (file_ != nullptr) std::fclose(file_);
  }
  std::FILE* file() const { return file_; }
  // Everything written so far.
  std::string Text() {
    std::fflush(file_);
    return Flushed();
  }
  // What has reached the file, without flushing the stream: what the code
  // flushed itself.
  std::string Flushed() const { return ReadWholeFile(dir_.path() / "captured"); }

 private:
  TempDir dir_;
  std::FILE* file_;
};

}  // namespace xsetest
