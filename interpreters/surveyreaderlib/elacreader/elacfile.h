// ElacFile: a recorded XSE file as a data source. Each receiveData hands the
// file stream to ReadFrame and reports the bytes that step consumed.
//
// Files of 2 GiB and more are read to their end like any other: positions
// are 64-bit throughout. Only the 32-bit interface values are narrowed:
// GetSize saturates at 4 GiB - 1, and a count of consumed bytes saturates
// at the int32 range.
#pragma once

#include <cstdint>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/ielaccontainer.h"
#include "platform/filestream.h"

class ElacFile : public IElacContainer, public ElacReader {
 public:
  // Records go to `target` (not owned); the default constructor decodes into
  // the reader's do-nothing target.
  explicit ElacFile(quor::ISurveyTarget* target);
  ElacFile();
  ~ElacFile() override;

  // Opens the file and measures its size. True only when it is open and not
  // empty; an empty file stays open. On an ElacFile that already holds a
  // file it fails and leaves the stream failed.
  bool Open(const char* name) override;
  // Decodes the next frame. `processed` is the count of bytes consumed,
  // negative on the call that meets the end of the data, 0 after it.
  bool receiveData(int32_t& processed, int32_t reserved) override;
  void Close() override;
  uint32_t GetSize() override;
  bool IsOpen() override;

  // Whether the last receiveData found a frame start whose frame, as its
  // size field declares it (end marker included), lies within the size Open
  // measured. Recognition asks this: a frame that runs past the end of the
  // file is no frame, however the decoder treated its size.
  bool LastFrameFits() const;

  // The full measured size (0 before Open measured it).
  uint64_t size64() const { return fileSize_; }
  // Why the last Open failed to open the file, in words.
  const std::string& openError() const { return stream_.error(); }
  // Why the last Open gave false, as users are told: the system's reason,
  // or "file is empty" for a file that opened but holds no bytes.
  std::string OpenFailure() { return IsOpen() ? std::string("file is empty") : openError(); }

 private:
  std::streamoff Position();
  uint64_t fileSize_ = 0;
  std::streamoff stepStart_ = 0;  // where the last receiveData began
  platform::InputFileStream stream_;
};
