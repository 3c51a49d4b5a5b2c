#include "interpreters/surveyreaderlib/elacreader/elacstream.h"

#include <algorithm>
#include <limits>
#include <string>

namespace {

int32_t ClampToInt32(size_t count) {
  return static_cast<int32_t>(std::min<size_t>(count, std::numeric_limits<int32_t>::max()));
}

}  // namespace

ElacStream::ElacStream(quor::ISurveyTarget* target) : ElacReader(target, kAllBeams) {}

ElacStream::~ElacStream() { ElacStream::Close(); }

bool ElacStream::Open(const char* name) {
  if (input_.IsOpen()) return false;
  if (!input_.Open(name != nullptr ? name : "")) return false;
  return ReadMore() || !readError_.empty();
}

bool ElacStream::ReadMore() {
  if (ended_) return false;
  const std::span<uint8_t> room = decoder_.Room();
  if (room.empty()) {
    // Called after a decoding pass, the room is empty only when the buffer
    // could not grow for the frame at its head: no later read can help.
    readError_ = "no memory for a frame of " + std::to_string(decoder_.wanted()) + " bytes";
    ended_ = true;
    return false;
  }
  const std::optional<size_t> count = input_.Read(room);
  if (!count || *count == 0) {
    if (!count) readError_ = input_.error();
    ended_ = true;
    return false;
  }
  decoder_.Commit(*count);
  bytesRead_ += *count;
  return true;
}

bool ElacStream::receiveData(int32_t& processed, int32_t /*reserved*/) {
  processed = 0;
  if (!input_.IsOpen()) return false;
  // Reads on until a frame completes: a read may bring a few bytes only.
  // The decoder keeps at most one frame's bytes, so this ends with a frame,
  // the end of the data or a failure.
  for (;;) {
    const size_t consumed = decoder_.Decode(*this);
    if (consumed > 0) {
      processed = ClampToInt32(consumed);
      return true;
    }
    if (ended_ || !ReadMore()) break;
  }
  processed = ClampToInt32(decoder_.DecodeRest(*this));
  return false;
}

void ElacStream::Close() { input_.Close(); }
