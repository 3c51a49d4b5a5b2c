// Who is running: ids of the calling process and thread.
#pragma once

#include <cstdint>

namespace platform {

uint32_t CurrentProcessId();

// The system's id of the calling thread: never 0, unique among the live
// threads of the machine, and the number system tools show for the thread.
uint32_t CurrentThreadId();

}  // namespace platform
