#include "support/allocationcount.h"

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
thread_local bool tCounting = false;
thread_local size_t tAllocations = 0;
}  // namespace

#ifndef XSE_SANITIZED_NEW
void* operator new(std::size_t size) {
  if (tCounting) ++tAllocations;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
// The array and nothrow forms too: where the C++ runtime is a DLL (on
// Windows), its own definitions of them would call its own operator new.
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try {
    return operator new(size);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}
void* operator new[](std::size_t size, const std::nothrow_t& tag) noexcept {
  return operator new(size, tag);
}
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

namespace xsetest {

#ifdef XSE_SANITIZED_NEW
const bool kCountsAllocations = false;
#else
const bool kCountsAllocations = true;
#endif

void StartCountingAllocations() {
  tAllocations = 0;
  tCounting = true;
}

size_t StopCountingAllocations() {
  tCounting = false;
  return tAllocations;
}

}  // namespace xsetest
