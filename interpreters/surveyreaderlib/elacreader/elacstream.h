// ElacStream: XSE data read in order from a source that cannot seek
// (standard input, a FIFO, a device) as a data source. The bytes go through
// the live decoding pass as they arrive; what is left when the writer closes
// is read as the end of a file is. So a stream gives the records and the
// statistics a file of the same bytes gives, rejected frames and their
// offsets included, whatever sizes its reads come in.
#pragma once

#include <cstdint>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/ielaccontainer.h"
#include "interpreters/surveyreaderlib/elacreader/livedecoder.h"
#include "platform/sequentialinput.h"

class ElacStream : public IElacContainer, public ElacReader {
 public:
  // Records go to `target` (not owned).
  explicit ElacStream(quor::ISurveyTarget* target);
  ~ElacStream() override;

  // Opens `name` ("-" for standard input) and waits for its first bytes.
  // True only when it is open and gave some; a stream that ends at once
  // stays open, as an empty file does.
  bool Open(const char* name) override;
  // Decodes the frames the next read completes, reading on until one is
  // complete or the data ends; `processed` is the count of bytes consumed.
  // False once the data has ended (its rest decoded on that call) or a read
  // failed (readError tells why).
  bool receiveData(int32_t& processed, int32_t reserved) override;
  void Close() override;
  // A stream's size is not known: 0.
  uint32_t GetSize() override { return 0; }
  bool IsOpen() override { return input_.IsOpen(); }

  // Why the last Open gave false, as users are told: the system's reason,
  // or "file is empty" for a stream that ended before its first byte.
  std::string OpenFailure() { return IsOpen() ? std::string("file is empty") : input_.error(); }
  // Why reading stopped before the writer closed: a read error, or no
  // memory for a frame's size; empty when the data simply ended.
  const std::string& readError() const { return readError_; }
  uint64_t bytesRead() const { return bytesRead_; }

 private:
  // One read into the decoder's room: false at the end of the data or on a
  // failure (then readError_ is set).
  bool ReadMore();

  platform::SequentialInput input_;
  elac::LiveDecoder decoder_;
  uint64_t bytesRead_ = 0;
  bool ended_ = false;
  std::string readError_;
};
