#include "support/wine.h"

#include "platform/windows/win32.h"

namespace xsetest {

// Wine's ntdll exports its version; Windows' does not.
bool RunningUnderWine() {
  const HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
  return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

}  // namespace xsetest
