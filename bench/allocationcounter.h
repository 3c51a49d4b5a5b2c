// Counts the heap allocations of the whole process: the benchmark binary
// replaces the global operator new with one that counts and forwards to
// malloc. Steady-state decoding is expected to allocate nothing.
#pragma once

#include <cstdint>

namespace xsebench {

// Allocations made so far by operator new in any of its forms.
uint64_t AllocationCount();

}  // namespace xsebench
