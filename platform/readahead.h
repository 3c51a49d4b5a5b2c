// ReadAhead: reads a file sequentially on a thread of its own into a small
// ring of blocks, ahead of a caller that takes the blocks one by one, so that
// reading and working on what was read overlap. The thread reads on while a
// block is free and stops at the first short read (the end of the data for
// now); nothing is read again, so a caller that wants to see a file grow
// reads on by itself after the last block.
//
// A caller that finds its next block still being read does not wait idle:
// it reads the next free block itself. When reading is the slower side (a
// cached file: copying out of the page cache costs more than decoding),
// the copies are shared between both threads.
//
// Each side that has to wait sleeps until half the ring is ready for it
// (free blocks for the thread), or what it waits for is there: a wake-up
// costs a context switch, on a virtual machine an interrupt between
// processors.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "platform/pagealigned.h"

namespace platform {

class ReadAhead {
 public:
  // Reads up to `into.size()` bytes at `offset`: the count read, 0 at the
  // end, nothing on a read error (ReadOnlyFile::ReadAt's contract). The
  // thread and the caller may call it at the same time, for different
  // blocks: it must be safe to call from two threads at once.
  using ReadAtFunction =
      std::function<std::optional<size_t>(uint64_t offset, std::span<uint8_t> into)>;

  // Reads from `file`, which must stay open while this object lives, in
  // `blockCount` blocks of `blockSize` bytes. Throws std::bad_alloc or
  // std::system_error when it gets no memory or no thread.
  ReadAhead(const ReadOnlyFile& file, size_t blockSize, size_t blockCount);
  // The same over any source that reads like a file, such as one that fails
  // in mid-file.
  ReadAhead(ReadAtFunction readAt, size_t blockSize, size_t blockCount);
  ReadAhead(const ReadAhead&) = delete;
  ReadAhead& operator=(const ReadAhead&) = delete;
  // Waits for a read in flight, then ends the thread.
  ~ReadAhead();

  // Drops whatever was read or handed out and reads on from `offset`.
  void Start(uint64_t offset);
  // Drops everything and stops reading (after the read in flight).
  void Stop();
  // Whether reading was started and the next block would be at `offset`.
  bool Continues(uint64_t offset) const { return active_ && next_ == offset; }

  // The next block in file order, waiting for it: its bytes, valid until the
  // next call of Next, Start or Stop. Nothing once the last block (a short
  // or failed read) was handed out, or when not started; reading then
  // stands still until the next Start.
  std::optional<std::span<const uint8_t>> Next();

 private:
  enum class BlockState { kFree, kReading, kRead };
  struct Block {
    PageAlignedBytes bytes;
    BlockState state = BlockState::kFree;
    uint64_t offset = 0;
    std::optional<size_t> count;
  };

  void Work();
  void Reset(std::unique_lock<std::mutex>& lock);
  size_t FreeBlocks() const { return blocks_.size() - claimed_ - (held_ ? 1 : 0); }
  // Takes the next free block in file order for reading, or null when none
  // is free or reading ended. Under the lock.
  Block* Claim();
  // Reads a claimed block outside the lock and marks it read.
  void ReadInto(Block& block, std::unique_lock<std::mutex>& lock);

  const ReadAtFunction readAt_;
  const size_t blockSize_;
  std::vector<Block> blocks_;
  // The caller's view, changed only on the caller's thread.
  bool active_ = false;
  uint64_t next_ = 0;  // file offset of the next block to hand out

  // How many free blocks the waiting thread waits for: half the ring.
  const size_t wakeBlocks_;

  std::mutex mutex_;
  std::condition_variable readable_;  // the caller waits: its next block read, the end
  std::condition_variable writable_;  // the thread waits: free blocks, a start, the stop
  size_t head_ = 0;                   // next block to hand out
  size_t claimed_ = 0;                // blocks being read or read, from head_ on
  size_t inFlight_ = 0;               // reads running outside the lock
  bool held_ = false;                 // the block before head_ is the caller's
  bool ended_ = false;                // a read was short, or nothing was started: no more claims
  bool stop_ = false;
  bool callerWaits_ = false;  // in Next or Reset
  bool threadWaits_ = false;  // for free blocks
  uint64_t readOffset_ = 0;   // where the next claimed block starts
  std::thread thread_;
};

}  // namespace platform
