#include "platform/memoryusage.h"

// The kernel32 entry (K32GetProcessMemoryInfo), so no psapi import is needed.
#ifndef PSAPI_VERSION
#define PSAPI_VERSION 2
#endif
#include "platform/windows/win32.h"
// clang-format off
#include <psapi.h>
// clang-format on

namespace platform {

// The peak working set is the system's count of resident memory.
std::optional<uint64_t> PeakResidentBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  counters.cb = sizeof counters;
  if (!::GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters)) {
    return std::nullopt;
  }
  return static_cast<uint64_t>(counters.PeakWorkingSetSize);
}

}  // namespace platform
