// xse settings, what every system shares: the options, the line OK prints,
// and the module's resources in the framework's chain while the page is up.
// Each system shows the page its own way: settingscommand.cpp with Qt,
// windows/settingscommand.cpp with the system's property sheets.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

#include "platform/framework/resources.h"

class ZElacSettingsDlg;

namespace xsetool {

struct SettingsOptions {
  int32_t intensity = 0;
  float gain = 0.0f;
  int32_t mean = 0;
  std::optional<std::string> screenshot;  // the PNG to write
  std::optional<bool> pressOk;            // the button to press at once: OK (true) or Cancel
};

// Parses the command's arguments (after "settings"). The options, or the
// exit status to return at once (0 after --help, 2 after a usage error,
// which it has printed). `helpNote` ends the help: what the system's page
// needs.
std::variant<SettingsOptions, int> ParseSettingsOptions(std::span<const std::string_view> args,
                                                        std::string_view helpNote);

// After OK: {"intensity":N,"lateralGain":G,"meanValue":M} and a newline on
// standard output. kExitOk, or kExitFailure when it cannot be written.
int PrintSettingsValues(const ZElacSettingsDlg& page);

// The plug-in's resources in the framework's chain while alive, as the
// module registers them when a host loads it.
class RegisteredResources {
 public:
  RegisteredResources();
  RegisteredResources(const RegisteredResources&) = delete;
  RegisteredResources& operator=(const RegisteredResources&) = delete;
  ~RegisteredResources();

 private:
  platform::ExtensionModule record_;
};

}  // namespace xsetool
