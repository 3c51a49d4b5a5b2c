// How much memory the process uses, as the system counts it.
#pragma once

#include <cstdint>
#include <optional>

namespace platform {

// The most resident memory (RSS) the process has held at any time so far, in
// bytes; nothing when the system cannot tell.
std::optional<uint64_t> PeakResidentBytes();

}  // namespace platform
