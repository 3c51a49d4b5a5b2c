#include "platform/namedmutex.h"

#include <new>
#include <string_view>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

// The system's own named mutex already has every property asked for:
// shared by name, owned by a thread, recursive, and abandoned when its
// owner ends. The name goes to the system as it is, in the session's
// namespace; only a backslash would mean something there ("Global\").

namespace platform {

struct NamedMutex {
  HANDLE handle = nullptr;
};

namespace {

constexpr size_t kMaxNameLength = 259;

bool IsUsableName(const char* name) {
  if (name == nullptr || *name == '\0') return false;
  const std::string_view view(name);
  return view.size() <= kMaxNameLength && view.find('\\') == std::string_view::npos;
}

}  // namespace

NamedMutex* CreateNamedMutex(const char* name) {
  if (!IsUsableName(name)) return nullptr;
  const HANDLE handle = ::CreateMutexW(nullptr, FALSE, WidenUtf8(name).c_str());
  if (handle == nullptr) return nullptr;
  auto* mutex = new (std::nothrow) NamedMutex;
  if (mutex == nullptr) {
    ::CloseHandle(handle);
    return nullptr;
  }
  mutex->handle = handle;
  return mutex;
}

void CloseNamedMutex(NamedMutex* mutex) {
  if (mutex == nullptr) return;
  ::CloseHandle(mutex->handle);
  delete mutex;
}

MutexWait WaitNamedMutex(NamedMutex* mutex, uint32_t timeoutMs) {
  if (mutex == nullptr) return MutexWait::kFailed;
  // INFINITE is all bits set: a wait that long is capped one below it.
  const DWORD timeout = timeoutMs == INFINITE ? INFINITE - 1 : static_cast<DWORD>(timeoutMs);
  switch (::WaitForSingleObject(mutex->handle, timeout)) {
    case WAIT_OBJECT_0:
      return MutexWait::kAcquired;
    case WAIT_ABANDONED:
      return MutexWait::kAbandoned;
    case WAIT_TIMEOUT:
      return MutexWait::kTimedOut;
    default:
      return MutexWait::kFailed;
  }
}

bool ReleaseNamedMutex(NamedMutex* mutex) {
  return mutex != nullptr && ::ReleaseMutex(mutex->handle) != 0;
}

}  // namespace platform
