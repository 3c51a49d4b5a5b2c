#include "platform/memoryusage.h"

#include <sys/resource.h>

namespace platform {

std::optional<uint64_t> PeakResidentBytes() {
  rusage usage{};
  if (::getrusage(RUSAGE_SELF, &usage) != 0 || usage.ru_maxrss < 0) return std::nullopt;
  return static_cast<uint64_t>(usage.ru_maxrss) * 1024;  // Linux counts kilobytes
}

}  // namespace platform
