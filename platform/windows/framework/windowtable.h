// Inside the framework library: what the socket events need to know of the
// windows.
#pragma once

#include "platform/framework/wnd.h"

namespace platform {

// True when `window` is a live window (not being destroyed) of the calling
// thread.
bool IsLiveWindowOfThisThread(WindowHandle window);

}  // namespace platform
