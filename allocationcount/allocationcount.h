// Counts and fails heap allocations for the tests and the benchmarks that
// link it: the global operator new, in every form, is replaced by one that
// counts and forwards to malloc. Sanitizer builds keep their own operator new
// (it carries their checks): nothing is counted or failed there, and
// kCountsAllocations is false.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xsealloc {

extern const bool kCountsAllocations;

// Allocations made so far by any thread of the process.
uint64_t AllocationCount();

// Counting on the calling thread only.
void StartCountingAllocations();
// The calling thread's allocations since the start.
size_t StopCountingAllocations();

template <typename Work>
size_t AllocationsOf(Work work) {
  StartCountingAllocations();
  work();
  return StopCountingAllocations();
}

// While set, requests of at least `size` bytes on the calling thread fail;
// 0 lets every request through again.
void FailAllocationsFrom(size_t size);

}  // namespace xsealloc
