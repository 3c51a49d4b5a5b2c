#include "allocationcount/allocationcount.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define XSE_SANITIZED_NEW 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define XSE_SANITIZED_NEW 1
#endif
#endif

namespace {
std::atomic<uint64_t> gAllocations{0};
thread_local bool tCounting = false;
thread_local size_t tAllocations = 0;
thread_local size_t tFailFrom = 0;

[[maybe_unused]] void* Allocate(std::size_t size) noexcept {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  if (tCounting) ++tAllocations;
  if (tFailFrom != 0 && size >= tFailFrom) return nullptr;
  return std::malloc(size == 0 ? 1 : size);
}

[[maybe_unused]] void* AllocateOrThrow(std::size_t size) {
  void* memory = Allocate(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

// Over-aligned memory out of one counted malloc: the block is moved up to
// the alignment, with the address malloc gave just below it for the free.
[[maybe_unused]] void* AllocateAligned(std::size_t size, std::align_val_t alignment) noexcept {
  const auto align = static_cast<std::size_t>(alignment);
  if (size > SIZE_MAX - align - sizeof(void*)) return nullptr;
  void* raw = Allocate(size + align + sizeof(void*));
  if (raw == nullptr) return nullptr;
  const std::uintptr_t address =
      (reinterpret_cast<std::uintptr_t>(raw) + sizeof(void*) + align - 1) & ~(align - 1);
  reinterpret_cast<void**>(address)[-1] = raw;
  return reinterpret_cast<void*>(address);
}

[[maybe_unused]] void* AllocateAlignedOrThrow(std::size_t size, std::align_val_t alignment) {
  void* memory = AllocateAligned(size, alignment);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

[[maybe_unused]] void FreeAligned(void* memory) noexcept {
  if (memory != nullptr) std::free(static_cast<void**>(memory)[-1]);
}
}  // namespace

#ifndef XSE_SANITIZED_NEW
// The array and nothrow forms too: where the C++ runtime is a DLL (on
// Windows), its own definitions of them would call its own operator new.
// The aligned forms as well: read buffers are page-aligned.
void* operator new(std::size_t size) { return AllocateOrThrow(size); }
void* operator new[](std::size_t size) { return AllocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
// GCC takes the replacement pair for a mismatch once it inlines them into
// each other at -O2; they are a matching malloc/free pair.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return AllocateAlignedOrThrow(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return AllocateAlignedOrThrow(size, alignment);
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AllocateAligned(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AllocateAligned(size, alignment);
}
void operator delete(void* memory, std::align_val_t) noexcept { FreeAligned(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { FreeAligned(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { FreeAligned(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept {
  FreeAligned(memory);
}
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  FreeAligned(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  FreeAligned(memory);
}
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
#endif

namespace xsealloc {

#ifdef XSE_SANITIZED_NEW
const bool kCountsAllocations = false;
#else
const bool kCountsAllocations = true;
#endif

uint64_t AllocationCount() { return gAllocations.load(std::memory_order_relaxed); }

void StartCountingAllocations() {
  tAllocations = 0;
  tCounting = true;
}

size_t StopCountingAllocations() {
  tCounting = false;
  return tAllocations;
}

void FailAllocationsFrom(size_t size) { tFailFrom = size; }

}  // namespace xsealloc
