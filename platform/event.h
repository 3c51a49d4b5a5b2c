// A manual-reset event: stays signalled from Set until Reset; Wait returns
// at once while it is signalled.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace platform {

class ManualResetEvent {
 public:
  void Set();
  void Reset();
  // True when signalled within `milliseconds`.
  bool Wait(uint32_t milliseconds);

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool signalled_ = false;
};

}  // namespace platform
