#include "platform/processinfo.h"

#include <unistd.h>

namespace platform {

uint32_t CurrentProcessId() { return static_cast<uint32_t>(::getpid()); }

// Not cached: a thread-local copy would carry the parent's id into a forked child.
uint32_t CurrentThreadId() { return static_cast<uint32_t>(::gettid()); }

}  // namespace platform
