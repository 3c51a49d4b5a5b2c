// The bytes of a live XSE stream between reads, and the decoding pass over
// them. Reads store behind what is held (Room, Commit); Decode hands every
// frame held whole to the decoder, in order, and drops what it consumed, so
// however the stream is cut into reads each frame is decoded exactly once
// and a frame cut off is completed by later reads.
//
// The buffer starts at 64 KiB and grows only when the frame at its head
// declares a size that needs more (up to the decoder's frame-size limit);
// it never shrinks, so once it fits the largest frame of a survey nothing
// is allocated. When it is full, Room is empty: the caller stops reading and
// the bytes wait in the kernel, which slows the sender.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/memorystream.h"

namespace elac {

class LiveDecoder {
 public:
  static constexpr size_t kInitialCapacity = size_t{64} * 1024;

  LiveDecoder();
  LiveDecoder(const LiveDecoder&) = delete;
  LiveDecoder& operator=(const LiveDecoder&) = delete;

  // Where the next read may store its bytes; empty when the buffer is full
  // and the frame at its head fits it (decode first). Grows the buffer when
  // that frame needs more room. Empty also when growing ran out of memory
  // (see outOfMemory).
  std::span<uint8_t> Room();
  // Takes `count` bytes stored at the start of the last Room.
  void Commit(size_t count);
  // Decodes every frame held whole with `reader` (its records go to the
  // reader's target before this returns) and drops the bytes consumed:
  // decoded frames, rejected frame starts and the words searched past. A
  // frame start without all its bytes stays held. Returns the bytes
  // consumed.
  size_t Decode(ElacReader& reader);
  // Decodes what is held as the end of the data, as a file ending there is
  // read: a frame cut off is a rejected start, and the search stops where
  // the reader stops. Drops everything held; returns how many bytes that was.
  size_t DecodeRest(ElacReader& reader);
  // Forgets everything held.
  void Clear() {
    headOffset_ += held();
    head_ = tail_ = 0;
  }

  size_t held() const { return tail_ - head_; }
  size_t capacity() const { return capacity_; }
  // The bytes the frame at the head needs, once its size is known; 0 when
  // no frame start is held.
  size_t wanted() const { return wanted_; }
  // The last Room could not grow the buffer for the frame at the head: more
  // reads cannot help.
  bool outOfMemory() const { return outOfMemory_; }
  // Where growth takes its memory (null: the heap); for tests that make it
  // fail.
  using Allocate = uint8_t* (*)(size_t bytes);
  void SetAllocator(Allocate allocate) { allocate_ = allocate; }

 private:
  std::unique_ptr<uint8_t[]> bytes_;
  size_t capacity_ = 0;
  size_t head_ = 0;  // first byte held
  size_t tail_ = 0;  // one past the last byte held
  // Where the first byte held stands in the stream: the reader's rejections
  // carry stream offsets, as a file's carry file offsets.
  uint64_t headOffset_ = 0;
  size_t wanted_ = 0;
  bool outOfMemory_ = false;
  Allocate allocate_ = nullptr;
  MemoryStream stream_;
};

}  // namespace elac
