#include "platform/readahead.h"

#include <algorithm>
#include <utility>

namespace platform {

ReadAhead::ReadAhead(const ReadOnlyFile& file, size_t blockSize, size_t blockCount)
    : ReadAhead(
          [&file](uint64_t offset, std::span<uint8_t> into) { return file.ReadAt(offset, into); },
          blockSize, blockCount) {}

ReadAhead::ReadAhead(ReadAtFunction readAt, size_t blockSize, size_t blockCount)
    : readAt_(std::move(readAt)),
      blockSize_(blockSize),
      blocks_(std::max<size_t>(blockCount, 2)),
      wakeBlocks_(blocks_.size() / 2) {
  for (Block& block : blocks_) block.bytes = AllocatePageAligned(blockSize_);
  ended_ = true;  // nothing to read before Start
  thread_ = std::thread([this] { Work(); });
}

ReadAhead::~ReadAhead() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  writable_.notify_all();
  thread_.join();
}

void ReadAhead::Reset(std::unique_lock<std::mutex>& lock) {
  // A read in flight writes into a block that is about to be free again.
  callerWaits_ = true;
  readable_.wait(lock, [this] { return inFlight_ == 0; });
  callerWaits_ = false;
  for (Block& block : blocks_) block.state = BlockState::kFree;
  head_ = 0;
  claimed_ = 0;
  held_ = false;
  ended_ = true;
}

void ReadAhead::Start(uint64_t offset) {
  {
    std::unique_lock<std::mutex> lock(mutex_);
    Reset(lock);
    ended_ = false;
    readOffset_ = offset;
  }
  active_ = true;
  next_ = offset;
  writable_.notify_all();
}

void ReadAhead::Stop() {
  std::unique_lock<std::mutex> lock(mutex_);
  Reset(lock);
  active_ = false;
}

ReadAhead::Block* ReadAhead::Claim() {
  if (ended_ || FreeBlocks() == 0) return nullptr;
  Block& block = blocks_[(head_ + claimed_) % blocks_.size()];
  block.state = BlockState::kReading;
  // Claims run ahead of the reads: a later block may be claimed before an
  // earlier one turns out short. Blocks are handed out in order and the
  // caller stops at the short one, so what lies behind it is never used.
  block.offset = readOffset_;
  readOffset_ += blockSize_;
  ++claimed_;
  ++inFlight_;
  return &block;
}

void ReadAhead::ReadInto(Block& block, std::unique_lock<std::mutex>& lock) {
  const uint64_t offset = block.offset;
  uint8_t* const bytes = block.bytes.get();
  lock.unlock();
  const std::optional<size_t> count = readAt_(offset, {bytes, blockSize_});
  lock.lock();
  block.count = count;
  block.state = BlockState::kRead;
  --inFlight_;
  if (!count || *count < blockSize_) ended_ = true;
}

std::optional<std::span<const uint8_t>> ReadAhead::Next() {
  if (!active_) return std::nullopt;
  std::unique_lock<std::mutex> lock(mutex_);
  held_ = false;
  if (threadWaits_ && FreeBlocks() >= wakeBlocks_) writable_.notify_all();
  const auto headRead = [this] {
    return claimed_ > 0 && blocks_[head_].state == BlockState::kRead;
  };
  while (!headRead()) {
    if (claimed_ == 0 && ended_) {
      active_ = false;
      return std::nullopt;
    }
    // Rather than wait for the thread, read the next free block here.
    if (Block* block = Claim()) {
      ReadInto(*block, lock);
      continue;
    }
    callerWaits_ = true;
    readable_.wait(lock, [&] { return headRead() || (claimed_ == 0 && ended_); });
    callerWaits_ = false;
  }
  const Block& block = blocks_[head_];
  head_ = (head_ + 1) % blocks_.size();
  --claimed_;
  held_ = true;
  if (!block.count || *block.count == 0) {
    active_ = false;
    return std::nullopt;
  }
  next_ += *block.count;
  return std::span<const uint8_t>(block.bytes.get(), *block.count);
}

void ReadAhead::Work() {
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    Block* block = stop_ ? nullptr : Claim();
    if (block == nullptr) {
      if (stop_) return;
      threadWaits_ = true;
      writable_.wait(lock, [this] { return stop_ || (!ended_ && FreeBlocks() >= wakeBlocks_); });
      threadWaits_ = false;
      continue;
    }
    ReadInto(*block, lock);
    // The caller waits only for the block this thread was reading (its next
    // one), or in Reset for no read in flight.
    if (callerWaits_) readable_.notify_all();
  }
}

}  // namespace platform
