#include "platform/processinfo.h"

#include "platform/windows/win32.h"

namespace platform {

uint32_t CurrentProcessId() { return static_cast<uint32_t>(::GetCurrentProcessId()); }

uint32_t CurrentThreadId() { return static_cast<uint32_t>(::GetCurrentThreadId()); }

}  // namespace platform
