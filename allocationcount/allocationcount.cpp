#include "allocationcount/allocationcount.h"

#include <atomic>
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
}  // namespace

#ifndef XSE_SANITIZED_NEW
// The array and nothrow forms too: where the C++ runtime is a DLL (on
// Windows), its own definitions of them would call its own operator new.
// Aligned forms are left to the library: nothing counted uses over-aligned
// types.
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
