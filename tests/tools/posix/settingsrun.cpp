#include "tools/settingsrun.h"

#include <cstdint>

#include "support/tempdir.h"

namespace xsetest {

ToolResult RunSettings(const std::vector<std::string>& args) {
  // Qt is not built for ThreadSanitizer, which sees races inside Qt's own
  // thread pool; under it, only reports with a frame in a Qt library are
  // excused (other builds ignore the option).
  static const TempDir suppressions;
  static const std::string file = [] {
    const std::string text = "race:libQt6Core.so\nrace:libQt6Gui.so\nrace:libQt6Widgets.so\n";
    return suppressions.Write("qt.tsan.supp",
                              {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  }();
  // No display, as in CI: the tool falls back to the offscreen platform.
  std::vector<std::string> all = {"settings"};
  all.insert(all.end(), args.begin(), args.end());
  return RunChild(XSE_XSE_TOOL, all,
                  {"",
                   {{"DISPLAY", std::nullopt},
                    {"WAYLAND_DISPLAY", std::nullopt},
                    {"QT_QPA_PLATFORM", std::nullopt},
                    {"TSAN_OPTIONS", "suppressions=" + file}}});
}

// Offscreen, Qt draws the page anywhere.
std::string SettingsPageUnavailable() { return {}; }

}  // namespace xsetest
