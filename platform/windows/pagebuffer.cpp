#include "platform/pagebuffer.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/windows/win32.h"

// A buffer is a large range of address space reserved at once, of which the
// front is committed as the buffer grows: growing in place moves nothing.
// Only a buffer that outgrows its reservation is copied into a larger one.
//
// Committed pages arrive zeroed on first touch. Faulting them in ahead on a
// thread of their own, as on Linux, would have to write to pages the caller
// may be filling at the same time; the system gives no call that only maps
// them. So nothing is faulted ahead here, and faultingAhead_ stays empty.

namespace platform {
namespace {

constexpr size_t kGranule = size_t{64} << 10;  // the system's allocation granularity
// Address space is plentiful on 64 bits and scarce on 32: how much a new
// buffer reserves beyond what it commits.
constexpr size_t kReservation = sizeof(void*) >= 8 ? size_t{64} << 30 : size_t{256} << 20;

size_t RoundUp(size_t bytes) { return (bytes + kGranule - 1) / kGranule * kGranule; }

// Bytes reserved but not yet committed right behind `block`'s committed part.
size_t ReservedBehind(const PageBuffer::Block& block) {
  MEMORY_BASIC_INFORMATION information{};
  char* const end = static_cast<char*>(block.data) + block.capacity;
  if (::VirtualQuery(end, &information, sizeof information) == 0 ||
      information.AllocationBase != block.data || information.State != MEM_RESERVE) {
    return 0;
  }
  return information.RegionSize;
}

// Reserves a new range for `capacity` bytes (more when the space is there)
// and commits `capacity`; null when the system refuses.
void* ReserveAndCommit(size_t capacity) {
  void* data = nullptr;
  if (capacity < kReservation)
    data = ::VirtualAlloc(nullptr, kReservation, MEM_RESERVE, PAGE_NOACCESS);
  if (data == nullptr) data = ::VirtualAlloc(nullptr, capacity, MEM_RESERVE, PAGE_NOACCESS);
  if (data == nullptr) return nullptr;
  if (::VirtualAlloc(data, capacity, MEM_COMMIT, PAGE_READWRITE) == nullptr) {
    ::VirtualFree(data, 0, MEM_RELEASE);
    return nullptr;
  }
  return data;
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
  const size_t capacity = RoundUp(std::max(bytes, block_.capacity * 2));
  if (capacity < bytes) return false;  // the size wrapped around
  if (block_.data != nullptr && ReservedBehind(block_) >= capacity - block_.capacity) {
    char* const end = static_cast<char*>(block_.data) + block_.capacity;
    if (::VirtualAlloc(end, capacity - block_.capacity, MEM_COMMIT, PAGE_READWRITE) != nullptr) {
      block_.capacity = capacity;
      return true;
    }
  }
  void* data = ReserveAndCommit(capacity);
  if (data == nullptr) return false;
  if (block_.data != nullptr) {
    std::memcpy(data, block_.data, block_.capacity);
    Free(block_);
  }
  block_ = {data, capacity};
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

// Releasing the reservation's base frees the whole range, committed or not.
void PageBuffer::Free(Block block) {
  if (block.data != nullptr) ::VirtualFree(block.data, 0, MEM_RELEASE);
}

}  // namespace platform
