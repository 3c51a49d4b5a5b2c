// Counts the allocations some work makes on the calling thread. A test
// binary that links allocationcount.cpp has its global operator new replaced
// by one that counts while counting is on, and the array and nothrow forms
// by ones that go through it. Sanitizer builds keep their
// own operator new (it carries their checks): nothing is counted there, and
// kCountsAllocations is false.
#pragma once

#include <cstddef>

namespace xsetest {

extern const bool kCountsAllocations;

void StartCountingAllocations();
// The allocations since the start.
size_t StopCountingAllocations();

template <typename Work>
size_t AllocationsOf(Work work) {
  StartCountingAllocations();
  work();
  return StopCountingAllocations();
}

}  // namespace xsetest
