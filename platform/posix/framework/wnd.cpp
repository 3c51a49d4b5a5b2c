#include "platform/framework/wnd.h"

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "platform/posix/framework/threadqueue.h"

namespace platform {

namespace {

struct WindowEntry {
  CWnd* window = nullptr;
  std::shared_ptr<ThreadQueue> owner;
  // A dispatch in progress pins the window: another thread that destroys it
  // waits until the handler has returned, and no new dispatch starts once
  // the destruction has begun.
  int busy = 0;
  std::thread::id dispatcher;
  bool closing = false;
  bool destroyed = false;  // kept only until the pinning handler returns
};

// Every live window by handle. Posting threads look up the owner's queue
// here; only the owner dispatches, so `window` is used on its thread alone.
struct WindowTable {
  std::mutex mutex;
  std::condition_variable changed;
  std::map<WindowHandle, WindowEntry> windows;
  WindowHandle last = 0;
};

WindowTable& Windows() {
  static WindowTable table;
  return table;
}

}  // namespace

struct CWndAccess {
  static void Forget(CWnd& window) { window.handle_.store(0, std::memory_order_release); }
};

CWnd::~CWnd() {
  if (handle_ == 0) return;
  WindowTable& table = Windows();
  const std::lock_guard lock(table.mutex);
  table.windows.erase(handle_);
  table.changed.notify_all();
}

bool CWnd::IsOwnedByCallingThread() const {
  WindowTable& table = Windows();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(handle_);
  return found == table.windows.end() || found->second.owner == ThisThreadQueue();
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
    WindowEntry entry;
    entry.window = this;
    entry.owner = ThisThreadQueue();
    table.windows[handle_] = std::move(entry);
  }
  if (OnCreate() != -1) return true;
  const std::lock_guard lock(table.mutex);
  table.windows.erase(handle_);
  handle_ = 0;
  return false;
}

bool CWnd::DestroyWindow() {
  WindowTable& table = Windows();
  WindowHandle handle = 0;
  {
    std::unique_lock lock(table.mutex);
    handle = handle_;
    if (handle == 0) return false;
    const auto found = table.windows.find(handle);
    if (found != table.windows.end()) {
      const auto self = std::this_thread::get_id();
      if (found->second.closing) {
        // Another thread is destroying it: done once that has finished and
        // no handler runs any more (unless this thread is inside one).
        table.changed.wait(lock, [&] {
          const auto entry = table.windows.find(handle);
          return entry == table.windows.end() ||
                 (entry->second.busy > 0 && entry->second.dispatcher == self);
        });
        return false;
      }
      found->second.closing = true;
      table.changed.wait(lock, [&] {
        const WindowEntry& entry = table.windows.at(handle);
        return entry.busy == 0 || entry.dispatcher == self;
      });
    }
  }
  OnDestroy();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(handle);
  // A handler of this thread still running keeps the entry until it returns.
  if (found != table.windows.end() && found->second.busy > 0) {
    // Destroyed from inside its own handler: gone when that returns.
    found->second.destroyed = true;
    return true;
  }
  if (found != table.windows.end()) table.windows.erase(found);
  handle_.store(0, std::memory_order_release);
  table.changed.notify_all();
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
  WindowTable& table = Windows();
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(message.window);
    if (found == table.windows.end() || found->second.closing ||
        found->second.owner != ThisThreadQueue())
      return 0;
    window = found->second.window;
    ++found->second.busy;
    found->second.dispatcher = std::this_thread::get_id();
  }
  // Pinned: a thread that destroys the window meanwhile waits for the end of
  // the call.
  const intptr_t result = window->WindowProc(message.message, message.wParam, message.lParam);
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(message.window);
  if (found != table.windows.end() && --found->second.busy == 0 && found->second.destroyed) {
    table.windows.erase(found);
    CWndAccess::Forget(*window);
  }
  table.changed.notify_all();
  return result;
}

std::shared_ptr<ThreadQueue> OwnerQueue(WindowHandle window) {
  WindowTable& table = Windows();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(window);
  return found == table.windows.end() ? nullptr : found->second.owner;
}

}  // namespace platform
