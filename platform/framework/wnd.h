// Windows and their messages. A window belongs to the thread that creates
// it: messages posted to it (from any thread) wait in that thread's queue
// until the thread takes them and dispatches them to the window's
// WindowProc. A message for a window destroyed in the meantime is dropped.
// Message numbers are the application's own, from kFirstApplicationMessage
// to kLastApplicationMessage: the numbers below are the window system's,
// the ones above are registered names.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/framework/resources.h"
#include "platform/sharedapi.h"

namespace platform {

using WindowHandle = uintptr_t;  // 0: no window

inline constexpr uint32_t kFirstApplicationMessage = 0x0400;
inline constexpr uint32_t kLastApplicationMessage = 0xBFFF;

struct WindowMessage {
  WindowHandle window = 0;
  uint32_t message = 0;
  uintptr_t wParam = 0;
  intptr_t lParam = 0;
};

class XSE_SHARED_API CWnd : public CObject {
 public:
  CWnd() = default;
  CWnd(const CWnd&) = delete;
  CWnd& operator=(const CWnd&) = delete;
  // A window still there is taken away without OnDestroy: by now the derived
  // part is gone. Owners destroy the window first (DestroyWindow).
  ~CWnd() override;

  // Makes the window, owned by the calling thread, and runs OnCreate; false
  // (no window) when OnCreate returns -1 or there is a window already.
  bool CreateOnThisThread();
  // Runs OnDestroy and takes the window away; false when there is none.
  // Any thread may call it: a handler of the window running on its own
  // thread is waited for, and none starts afterwards. Called from inside
  // one of its own handlers, the window is gone when that handler returns.
  virtual bool DestroyWindow();
  // 0 once the window is gone for good (no handler of it runs any more).
  WindowHandle GetSafeHwnd() const { return handle_.load(std::memory_order_acquire); }
  // True when there is no window or the calling thread owns it.
  bool IsOwnedByCallingThread() const;

  // The window's message handler; the default handles nothing and returns 0.
  virtual intptr_t WindowProc(uint32_t message, uintptr_t wParam, intptr_t lParam);

 protected:
  virtual int32_t OnCreate() { return 0; }
  virtual void OnDestroy() {}

 private:
  // Each system's window code ends the life of a window (handle_ to 0)
  // through it.
  friend struct CWndAccess;

  std::atomic<WindowHandle> handle_{0};
};

// Queues a message for `window`'s thread; false when there is no such window.
XSE_SHARED_API bool PostWindowMessage(WindowHandle window, uint32_t message, uintptr_t wParam,
                                      intptr_t lParam);

// Takes the calling thread's next message, if any, without waiting. Socket
// events selected for the thread's windows (asyncselect.h) are collected
// first when the queue is empty.
XSE_SHARED_API bool PeekThreadMessage(WindowMessage& message);

// Dispatches every message waiting for the calling thread (socket events
// included), then returns; never waits.
XSE_SHARED_API void DispatchThreadMessages();

// Hands a message to its window's WindowProc, on the window's own thread.
// Returns the handler's result; 0 when the window is gone or not this
// thread's.
XSE_SHARED_API intptr_t DispatchThreadMessage(const WindowMessage& message);

}  // namespace platform
