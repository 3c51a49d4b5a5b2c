#include "platform/pagebuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <system_error>
#include <utility>

namespace platform {
namespace {

constexpr size_t kHugePage = size_t{2} << 20;
// Below this a new part is faulted in at once: a thread would cost more
// than it saves.
constexpr size_t kFaultAheadAtLeast = size_t{8} << 20;

size_t RoundUp(size_t bytes) { return (bytes + kHugePage - 1) / kHugePage * kHugePage; }

// Both hints may be refused (an older kernel, huge pages switched off); the
// pages then arrive on first touch as usual. Faulting in writes nothing, so
// pages the caller has filled meanwhile keep what it wrote.
void AskForHugePages([[maybe_unused]] void* start, [[maybe_unused]] size_t bytes) {
#ifdef MADV_HUGEPAGE
  madvise(start, bytes, MADV_HUGEPAGE);
#endif
}
void FaultIn([[maybe_unused]] void* start, [[maybe_unused]] size_t bytes) {
#ifdef MADV_POPULATE_WRITE
  madvise(start, bytes, MADV_POPULATE_WRITE);
#endif
}

}  // namespace

PageBuffer::PageBuffer(PageBuffer&& other) noexcept
    : block_(std::exchange(other.block_, {})), faultingAhead_(std::move(other.faultingAhead_)) {}

PageBuffer& PageBuffer::operator=(PageBuffer&& other) noexcept {
  if (this != &other) {
    StopFaultingAhead();
    Free(block_);
    block_ = std::exchange(other.block_, {});
    faultingAhead_ = std::move(other.faultingAhead_);
  }
  return *this;
}

PageBuffer::~PageBuffer() {
  StopFaultingAhead();
  Free(block_);
}

bool PageBuffer::Reserve(size_t bytes) {
  if (bytes <= block_.capacity) return true;
  StopFaultingAhead();
  const size_t capacity = RoundUp(std::max(bytes, block_.capacity * 2));
  void* data =
      block_.data == nullptr
          ? mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
          : mremap(block_.data, block_.capacity, capacity, MREMAP_MAYMOVE);
  if (data == MAP_FAILED) return false;
  char* const fresh = static_cast<char*>(data) + block_.capacity;
  const size_t needed = RoundUp(bytes) - block_.capacity;
  const size_t ahead = capacity - block_.capacity - needed;
  block_ = {data, capacity};
  AskForHugePages(fresh, needed + ahead);
  FaultIn(fresh, needed);
  if (ahead < kFaultAheadAtLeast) {
    FaultIn(fresh + needed, ahead);
    return true;
  }
  try {
    // A huge page at a time, so that Release need not wait for the rest.
    faultingAhead_ = std::jthread([start = fresh + needed, ahead](const std::stop_token& stop) {
      for (size_t done = 0; done < ahead && !stop.stop_requested(); done += kHugePage)
        FaultIn(start + done, std::min(kHugePage, ahead - done));
    });
  } catch (const std::system_error&) {
    FaultIn(fresh + needed, ahead);  // no thread to spare: at once, as for a small part
  }
  return true;
}

void PageBuffer::StopFaultingAhead() {
  if (!faultingAhead_.joinable()) return;
  faultingAhead_.request_stop();
  faultingAhead_.join();
}

PageBuffer::Block PageBuffer::Release() {
  StopFaultingAhead();
  return std::exchange(block_, {});
}

void PageBuffer::Free(Block block) {
  if (block.data != nullptr) munmap(block.data, block.capacity);
}

}  // namespace platform
