#include "interpreters/surveyreaderlib/elacreader/elacfile.h"

#include <algorithm>
#include <limits>

ElacFile::ElacFile(quor::ISurveyTarget* target) : ElacReader(target, kAllBeams) {}

ElacFile::ElacFile() = default;

ElacFile::~ElacFile() { ElacFile::Close(); }

bool ElacFile::Open(const char* name) {
  if (stream_.is_open()) {
    stream_.setstate(std::ios_base::failbit);
    return false;
  }
  stream_.open(name != nullptr ? name : "");
  if (!stream_.is_open()) return false;
  stream_.seekg(0, std::ios_base::end);
  const std::streamoff end = stream_.tellg();
  fileSize_ = end > 0 ? static_cast<uint64_t>(end) : 0;
  stream_.seekg(0, std::ios_base::beg);
  return fileSize_ > 0;
}

// What tellg gives, without the stream sentry that tellg builds on every
// call (a measurable share of a small frame's cost): -1 once the stream has
// failed, else the buffer's position.
std::streamoff ElacFile::Position() {
  if (stream_.fail()) return -1;
  return stream_.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
}

bool ElacFile::receiveData(int32_t& processed, int32_t /*reserved*/) {
  if (stream_.eof()) {
    processed = 0;
    return false;
  }
  const std::streamoff before = Position();
  stepStart_ = before;
  if (before >= 0) SetReadOrigin(static_cast<uint64_t>(before));
  ReadFrame(stream_);
  // A failed stream reports position -1, which makes the count negative.
  const std::streamoff after = Position();
  const std::streamoff consumed = after - before;
  processed = static_cast<int32_t>(std::clamp<std::streamoff>(
      consumed, std::numeric_limits<int32_t>::min(), std::numeric_limits<int32_t>::max()));
  return processed > 0;
}

bool ElacFile::LastFrameFits() const {
  const auto& start = lastFrameStart();
  if (!start || start->declaredSize == 0 || stepStart_ < 0) return false;
  return static_cast<uint64_t>(stepStart_) + start->skipped + start->declaredSize <= fileSize_;
}

void ElacFile::Close() {
  if (stream_.is_open()) stream_.close();
}

uint32_t ElacFile::GetSize() {
  return static_cast<uint32_t>(std::min<uint64_t>(fileSize_, std::numeric_limits<uint32_t>::max()));
}

bool ElacFile::IsOpen() { return stream_.is_open(); }
