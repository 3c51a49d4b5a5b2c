#include "platform/event.h"

#include <chrono>

namespace platform {

void ManualResetEvent::Set() {
  {
    const std::lock_guard lock(mutex_);
    signalled_ = true;
  }
  changed_.notify_all();
}

void ManualResetEvent::Reset() {
  const std::lock_guard lock(mutex_);
  signalled_ = false;
}

bool ManualResetEvent::Wait(uint32_t milliseconds) {
  std::unique_lock lock(mutex_);
  return changed_.wait_for(lock, std::chrono::milliseconds(milliseconds),
                           [this] { return signalled_; });
}

}  // namespace platform
