#include "tools/settingsrun.h"

#include "platform/windows/win32.h"

namespace xsetest {

ToolResult RunSettings(const std::vector<std::string>& args) {
  std::vector<std::string> all = {"settings"};
  all.insert(all.end(), args.begin(), args.end());
  return RunChild(XSE_XSE_TOOL, all);
}

// The tool shows the system's own property sheet, which needs windows:
// Wine without a display cannot make any. The child would fail as this
// process does.
std::string SettingsPageUnavailable() {
  HWND probe = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr,
                                 nullptr);
  if (probe == nullptr) {
    return "no display: windows cannot be made here (under Wine, run the tests with xvfb-run)";
  }
  ::DestroyWindow(probe);
  return {};
}

}  // namespace xsetest
