#include "platform/framework/wnd.h"

#include <condition_variable>
#include <map>
#include <mutex>

#include "platform/windows/framework/windowtable.h"
#include "platform/windows/win32.h"

namespace platform {

namespace {

// The windows are message-only windows of one class, whose procedure hands
// the application's messages to the CWnd the table below holds for them.
// A CWnd is taken out of the table (detached) before its window is
// destroyed, so no handler runs for a window on its way out, whatever is
// still queued for it.
struct WindowEntry {
  CWnd* window = nullptr;
  DWORD owner = 0;  // the thread that dispatches the window's messages
  // A dispatch in progress pins the window: another thread that destroys it
  // waits until the handler has returned, and no new dispatch starts once
  // the destruction has begun.
  int busy = 0;
  bool closing = false;
  bool destroyed = false;  // kept only until the pinning handler returns
};

struct WindowTable {
  std::mutex mutex;
  std::condition_variable changed;
  std::map<WindowHandle, WindowEntry> windows;
};

WindowTable& Windows() {
  static WindowTable table;
  return table;
}

HWND Hwnd(WindowHandle window) { return reinterpret_cast<HWND>(window); }

// Win32 destroys a window only on the thread that owns it. A window taken
// away on another thread is detached at once and destroyed by its own
// thread when that next dispatches this request (or by the system when the
// thread ends).
UINT DestroyRequest() {
  static const UINT message = ::RegisterWindowMessageW(L"XseFrameworkDestroyWindow");
  return message;
}

void DestroyNativeWindow(WindowHandle window, DWORD owner) {
  if (owner == ::GetCurrentThreadId()) {
    ::DestroyWindow(Hwnd(window));
  } else {
    ::PostMessageW(Hwnd(window), DestroyRequest(), 0, 0);
  }
}

intptr_t Route(WindowHandle handle, uint32_t message, uintptr_t wParam, intptr_t lParam);

LRESULT CALLBACK FrameworkWindowProcedure(HWND hwnd, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto handle = reinterpret_cast<WindowHandle>(hwnd);
  if (message == DestroyRequest()) {
    // Detached windows only: one still in the table is never destroyed
    // behind its CWnd's back.
    bool detached = false;
    {
      WindowTable& table = Windows();
      const std::lock_guard lock(table.mutex);
      detached = table.windows.count(handle) == 0;
    }
    if (detached) ::DestroyWindow(hwnd);
    return 0;
  }
  if (message >= kFirstApplicationMessage && message <= kLastApplicationMessage) {
    return Route(handle, message, wParam, lParam);
  }
  return ::DefWindowProcW(hwnd, message, wParam, lParam);
}

// The module the class is registered for: the one holding its procedure.
HINSTANCE ThisModule() {
  HMODULE module = nullptr;
  ::GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&FrameworkWindowProcedure), &module);
  return module;
}

constexpr wchar_t kClassName[] = L"XseFrameworkWindow";

// Registered once per process; 0 when that failed.
ATOM WindowClass() {
  static const ATOM atom = [] {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = FrameworkWindowProcedure;
    windowClass.hInstance = ThisModule();
    windowClass.lpszClassName = kClassName;
    return ::RegisterClassExW(&windowClass);
  }();
  return atom;
}

}  // namespace

struct CWndAccess {
  static void Forget(CWnd& window) { window.handle_.store(0, std::memory_order_release); }
  static void Set(CWnd& window, WindowHandle handle) {
    window.handle_.store(handle, std::memory_order_release);
  }
};

namespace {

// Hands a message to the CWnd of `handle` on its own thread; 0 when there
// is none (any more) or it is being destroyed.
intptr_t Route(WindowHandle handle, uint32_t message, uintptr_t wParam, intptr_t lParam) {
  CWnd* window = nullptr;
  WindowTable& table = Windows();
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(handle);
    if (found == table.windows.end() || found->second.closing ||
        found->second.owner != ::GetCurrentThreadId())
      return 0;
    window = found->second.window;
    ++found->second.busy;
  }
  const intptr_t result = window->WindowProc(message, wParam, lParam);
  bool destroyNow = false;
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(handle);
    if (found != table.windows.end() && --found->second.busy == 0 && found->second.destroyed) {
      // Destroyed from inside its own handler: gone now that it returned.
      table.windows.erase(found);
      CWndAccess::Forget(*window);
      destroyNow = true;
    }
    table.changed.notify_all();
  }
  if (destroyNow) ::DestroyWindow(Hwnd(handle));
  return result;
}

}  // namespace

CWnd::~CWnd() {
  const WindowHandle handle = handle_.load(std::memory_order_acquire);
  if (handle == 0) return;
  DWORD owner = 0;
  {
    WindowTable& table = Windows();
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(handle);
    if (found == table.windows.end()) return;
    owner = found->second.owner;
    table.windows.erase(found);
    table.changed.notify_all();
  }
  DestroyNativeWindow(handle, owner);
}

bool CWnd::IsOwnedByCallingThread() const {
  WindowTable& table = Windows();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(handle_);
  return found == table.windows.end() || found->second.owner == ::GetCurrentThreadId();
}

bool CWnd::CreateOnThisThread() {
  if (handle_ != 0 || WindowClass() == 0) return false;
  const HWND hwnd = ::CreateWindowExW(0, kClassName, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                      ThisModule(), nullptr);
  if (hwnd == nullptr) return false;
  const auto handle = reinterpret_cast<WindowHandle>(hwnd);
  WindowTable& table = Windows();
  {
    const std::lock_guard lock(table.mutex);
    WindowEntry entry;
    entry.window = this;
    entry.owner = ::GetCurrentThreadId();
    table.windows[handle] = entry;
    CWndAccess::Set(*this, handle);
  }
  if (OnCreate() != -1) return true;
  {
    const std::lock_guard lock(table.mutex);
    table.windows.erase(handle);
    CWndAccess::Forget(*this);
  }
  ::DestroyWindow(hwnd);
  return false;
}

bool CWnd::DestroyWindow() {
  WindowTable& table = Windows();
  const DWORD self = ::GetCurrentThreadId();
  WindowHandle handle = 0;
  DWORD owner = 0;
  {
    std::unique_lock lock(table.mutex);
    handle = handle_;
    if (handle == 0) return false;
    const auto found = table.windows.find(handle);
    if (found == table.windows.end()) return false;
    owner = found->second.owner;
    if (found->second.closing) {
      // Another thread is destroying it: done once that has finished and
      // no handler runs any more (unless this thread is inside one).
      table.changed.wait(lock, [&] {
        const auto entry = table.windows.find(handle);
        return entry == table.windows.end() || (entry->second.busy > 0 && owner == self);
      });
      return false;
    }
    found->second.closing = true;
    // Handlers run on the owner only: the owner never waits for itself.
    table.changed.wait(lock, [&] { return table.windows.at(handle).busy == 0 || owner == self; });
  }
  OnDestroy();
  {
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(handle);
    if (found != table.windows.end() && found->second.busy > 0) {
      // Destroyed from inside its own handler: gone when that returns.
      found->second.destroyed = true;
      return true;
    }
    if (found != table.windows.end()) table.windows.erase(found);
    CWndAccess::Forget(*this);
    table.changed.notify_all();
  }
  DestroyNativeWindow(handle, owner);
  return true;
}

intptr_t CWnd::WindowProc(uint32_t, uintptr_t, intptr_t) { return 0; }

bool IsLiveWindowOfThisThread(WindowHandle window) {
  WindowTable& table = Windows();
  const std::lock_guard lock(table.mutex);
  const auto found = table.windows.find(window);
  return found != table.windows.end() && !found->second.closing &&
         found->second.owner == ::GetCurrentThreadId();
}

bool PostWindowMessage(WindowHandle window, uint32_t message, uintptr_t wParam, intptr_t lParam) {
  {
    WindowTable& table = Windows();
    const std::lock_guard lock(table.mutex);
    const auto found = table.windows.find(window);
    if (found == table.windows.end() || found->second.closing) return false;
  }
  return ::PostMessageW(Hwnd(window), message, wParam, lParam) != FALSE;
}

bool PeekThreadMessage(WindowMessage& message) {
  MSG taken;
  if (::PeekMessageW(&taken, nullptr, 0, 0, PM_REMOVE) == FALSE) return false;
  message = {reinterpret_cast<WindowHandle>(taken.hwnd), taken.message, taken.wParam, taken.lParam};
  return true;
}

void DispatchThreadMessages() {
  MSG taken;
  while (::PeekMessageW(&taken, nullptr, 0, 0, PM_REMOVE) != FALSE) {
    if (taken.message == WM_QUIT) {
      // Not ours to end: left for the thread's own message loop.
      ::PostQuitMessage(static_cast<int>(taken.wParam));
      return;
    }
    ::TranslateMessage(&taken);
    ::DispatchMessageW(&taken);
  }
}

intptr_t DispatchThreadMessage(const WindowMessage& message) {
  const HWND hwnd = Hwnd(message.window);
  if (hwnd == nullptr || ::GetWindowThreadProcessId(hwnd, nullptr) != ::GetCurrentThreadId())
    return 0;
  MSG taken{};
  taken.hwnd = hwnd;
  taken.message = message.message;
  taken.wParam = message.wParam;
  taken.lParam = message.lParam;
  return ::DispatchMessageW(&taken);
}

}  // namespace platform
