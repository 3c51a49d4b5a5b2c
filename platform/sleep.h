// Pausing the calling thread.
#pragma once

#include <cstdint>

namespace platform {

// Sleeps at least `milliseconds` (0 gives up the rest of the time slice).
void SleepMilliseconds(uint32_t milliseconds);

}  // namespace platform
