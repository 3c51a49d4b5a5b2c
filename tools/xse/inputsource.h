// The inputs the commands decode, by name: a regular file through its
// seekable fast path, or standard input ("-"), a FIFO or a device as a
// stream, which gives the same records and statistics.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/surveyreaderlib/elacreader/elacstream.h"
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"
#include "platform/sequentialinput.h"
#include "tools/xse/nodata.h"

namespace xsetool {

class InputSource {
 public:
  // Records go to `target` in bathymetry head `mode`; what the reader met
  // goes to `statistics` when given. Neither is owned.
  InputSource(quor::ISurveyTarget* target, int32_t mode = ElacReader::kAllBeams,
              elac::ReadStatistics* statistics = nullptr)
      : target_(target), mode_(mode), statistics_(statistics) {}

  // Opens `name` as a stream when it names one, else as a file. False with
  // the reason in OpenFailure() when it cannot be opened or is empty.
  bool Open(const std::string& name) {
    if (platform::IsSequentialSource(name)) {
      stream_ = std::make_unique<ElacStream>(target_);
      Prepare(*stream_);
      return stream_->Open(name.c_str());
    }
    file_ = std::make_unique<ElacFile>(target_);
    Prepare(*file_);
    return file_->Open(name.c_str());
  }
  // Decodes the next piece; false at the end of the data.
  bool Next(int32_t& processed) {
    if (stream_) return stream_->receiveData(processed, 0);
    return file_ && file_->receiveData(processed, 0);
  }
  std::string OpenFailure() {
    if (stream_) return stream_->OpenFailure();
    return file_ ? file_->OpenFailure() : std::string();
  }
  // Why a stream stopped before its writer closed it; empty when it did not.
  std::string ReadFailure() const { return stream_ ? stream_->readError() : std::string(); }
  // The size in bytes; 0 for a stream, whose size is not known.
  uint64_t size() const { return file_ ? file_->size64() : 0; }

 private:
  void Prepare(ElacReader& reader) const {
    reader.SetMode(mode_);
    reader.SetStatistics(statistics_);
  }

  quor::ISurveyTarget* target_;
  int32_t mode_;
  elac::ReadStatistics* statistics_;
  std::unique_ptr<ElacFile> file_;
  std::unique_ptr<ElacStream> stream_;
};

// What went wrong with `source` once it was read to its end, in words: a
// stream that failed before its writer closed it, or input without one XSE
// frame (rejected frames count as found: a damaged survey is still one).
// Empty when nothing did.
inline std::string InputProblem(const InputSource& source, const elac::ReadStatistics& frames) {
  if (!source.ReadFailure().empty()) return source.ReadFailure();
  if (NoXseDataFound(frames)) return "no XSE data found";
  return {};
}

// For a command that reads its input twice: the message when `path` names
// a stream, which could be read only once; empty for a file.
inline std::string StreamRefusal(const char* command, const std::string& path) {
  if (!platform::IsSequentialSource(path)) return {};
  return path + ": " + command +
         " reads its input twice and cannot take a stream: save it to a file first";
}

}  // namespace xsetool
