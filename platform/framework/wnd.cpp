#include "platform/framework/wnd.h"

#include <map>
#include <memory>
#include <mutex>

#include "platform/framework/threadqueue.h"

namespace platform {

namespace {

struct WindowEntry {
  CWnd* window = nullptr;
  std::shared_ptr<ThreadQueue> owner;
};

// Every live window by handle. Posting threads look up the owner's queue
// here; only the owner dispatches, so `window` is used on its thread alone.
struct WindowTable {
  std::mutex mutex;
  std::map<WindowHandle, WindowEntry> windows;
  WindowHandle last = 0;
};

WindowTable& Windows() {
  static WindowTable table;
  return table;
}

}  // namespace

CWnd::~CWnd() {
  if (handle_ == 0) return;
  WindowTable& table = Windows();
  const std::lock_guard lock(table.mutex);
  table.windows.erase(handle_);
}

bool CWnd::CreateOnThisThread() {
  if (handle_ != 0) return false;
  WindowTable& table = Windows();
  {
    const std::lock_guard lock(table.mutex);
    do {
      ++table.last;
    } while (table.last == 0 || table.windows.count(table.last) != 0);
    handle_ = table.last;
    table.windows[handle_] = {this, ThisThreadQueue()};
  }
  if (OnCreate() != -1) return true;
  const std::lock_guard lock(table.mutex);
  table.windows.erase(handle_);
  handle_ = 0;
  return false;
}

bool CWnd::DestroyWindow() {
  if (handle_ == 0) return false;
  OnDestroy();
  WindowTable& table = Windows();
  const std::lock_guard lock(table.mutex);
  table.windows.erase(handle_);
  handle_ = 0;
  return true;
}

intptr_t CWnd::WindowProc(uint32_t, uintptr_t, intptr_t) { return 0; }

bool PostWindowMessage(WindowHandle window, uint32_t message, uintptr_t wParam, intptr_t lParam) {
  std::shared_ptr<ThreadQueue> owner;
  {
    WindowTable& table = Windows();
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(window);
    if (found == table.windows.end()) return false;
    owner = found->second.owner;
  }
  owner->Push({window, message, wParam, lParam});
  return true;
}

bool PeekThreadMessage(WindowMessage& message) {
  ThreadQueue& queue = *ThisThreadQueue();
  if (queue.Pop(message)) return true;
  queue.CollectSocketEvents();
  return queue.Pop(message);
}

void DispatchThreadMessages() {
  WindowMessage message;
  while (PeekThreadMessage(message)) DispatchThreadMessage(message);
}

intptr_t DispatchThreadMessage(const WindowMessage& message) {
  CWnd* window = nullptr;
  {
    WindowTable& table = Windows();
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(message.window);
    if (found == table.windows.end() || found->second.owner != ThisThreadQueue()) return 0;
    window = found->second.window;
  }
  // Only this thread can destroy its window, so it outlives the call.
  return window->WindowProc(message.message, message.wParam, message.lParam);
}

std::shared_ptr<ThreadQueue> OwnerQueue(WindowHandle window) {
  WindowTable& table = Windows();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(window);
  return found == table.windows.end() ? nullptr : found->second.owner;
}

}  // namespace platform
