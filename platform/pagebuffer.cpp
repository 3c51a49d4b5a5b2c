#include "platform/pagebuffer.h"

#include <sys/mman.h>

#include <algorithm>
#include <utility>

namespace platform {
namespace {

constexpr size_t kHugePage = size_t{2} << 20;

size_t RoundUp(size_t bytes) { return (bytes + kHugePage - 1) / kHugePage * kHugePage; }

// Both hints may be refused (an older kernel, huge pages switched off); the
// pages then arrive on first touch as usual.
void Prepare(void* start, size_t bytes) {
#ifdef MADV_HUGEPAGE
  madvise(start, bytes, MADV_HUGEPAGE);
#endif
#ifdef MADV_POPULATE_WRITE
  madvise(start, bytes, MADV_POPULATE_WRITE);
#endif
}

}  // namespace

PageBuffer& PageBuffer::operator=(PageBuffer&& other) noexcept {
  if (this != &other) {
    Free(block_);
    block_ = std::exchange(other.block_, {});
  }
  return *this;
}

bool PageBuffer::Reserve(size_t bytes) {
  if (bytes <= block_.capacity) return true;
  const size_t capacity = RoundUp(std::max(bytes, block_.capacity * 2));
  void* data =
      block_.data == nullptr
          ? mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)
          : mremap(block_.data, block_.capacity, capacity, MREMAP_MAYMOVE);
  if (data == MAP_FAILED) return false;
  Prepare(static_cast<char*>(data) + block_.capacity, capacity - block_.capacity);
  block_ = {data, capacity};
  return true;
}

PageBuffer::Block PageBuffer::Release() { return std::exchange(block_, {}); }

void PageBuffer::Free(Block block) {
  if (block.data != nullptr) munmap(block.data, block.capacity);
}

}  // namespace platform
