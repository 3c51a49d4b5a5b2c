#include "platform/framework/sockettraits.h"

#include "platform/windows/win32.h"

namespace platform {

bool ResetsAreReported() {
  // Wine's own function, which Windows lacks.
  const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
  return ntdll == nullptr || ::GetProcAddress(ntdll, "wine_get_version") == nullptr;
}

}  // namespace platform
