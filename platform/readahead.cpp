#include "platform/readahead.h"

namespace platform {

ReadAhead::ReadAhead(const ReadOnlyFile& file, size_t blockSize, size_t blockCount)
    : file_(file),
      blockSize_(blockSize),
      blocks_(std::max<size_t>(blockCount, 2)),
      wakeBlocks_(blocks_.size() / 2) {
  for (Block& block : blocks_) block.bytes = std::make_unique<uint8_t[]>(blockSize_);
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
  resetWaits_ = true;
  readable_.wait(lock, [this] { return !reading_; });
  resetWaits_ = false;
  head_ = 0;
  ready_ = 0;
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

std::optional<std::span<const uint8_t>> ReadAhead::Next() {
  if (!active_) return std::nullopt;
  std::unique_lock<std::mutex> lock(mutex_);
  held_ = false;
  if (threadWaits_ && FreeBlocks() >= wakeBlocks_) writable_.notify_all();
  if (ready_ == 0) {
    callerWaits_ = true;
    readable_.wait(lock, [this] { return ready_ >= wakeBlocks_ || (ended_ && !reading_); });
    callerWaits_ = false;
  }
  if (ready_ == 0) {
    active_ = false;
    return std::nullopt;
  }
  const Block& block = blocks_[head_];
  head_ = (head_ + 1) % blocks_.size();
  --ready_;
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
    if (!stop_ && (ended_ || FreeBlocks() == 0)) {
      threadWaits_ = true;
      writable_.wait(lock, [this] { return stop_ || (!ended_ && FreeBlocks() >= wakeBlocks_); });
      threadWaits_ = false;
    }
    if (stop_) return;
    Block& block = blocks_[(head_ + ready_) % blocks_.size()];
    const uint64_t offset = readOffset_;
    reading_ = true;
    lock.unlock();
    const std::optional<size_t> count = file_.ReadAt(offset, {block.bytes.get(), blockSize_});
    lock.lock();
    reading_ = false;
    block.count = count;
    ++ready_;
    if (count && *count == blockSize_) {
      readOffset_ = offset + *count;
    } else {
      ended_ = true;
    }
    if (resetWaits_ || (callerWaits_ && (ready_ >= wakeBlocks_ || ended_))) {
      readable_.notify_all();
    }
  }
}

}  // namespace platform
