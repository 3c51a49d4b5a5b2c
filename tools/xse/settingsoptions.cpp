#include "tools/xse/settingsoptions.h"

#include <cfloat>
#include <cmath>
#include <cstdio>

#include "interpreters/xsereader/xsereaderresources.h"
#include "interpreters/xsereader/zelacsettingsdlg.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/jsontext.h"

namespace xsetool {
namespace {

constexpr const char* kSettingsUsage =
    "usage: xse settings [--intensity N] [--gain DB_PER_M] [--mean N]\n"
    "                    [--screenshot FILE.png] [--press ok|cancel]\n";

constexpr const char* kSettingsHelp =
    "Opens the reader's settings page with the given values. OK prints\n"
    "{\"intensity\":N,\"lateralGain\":G,\"meanValue\":M} and exits 0; Cancel\n"
    "exits 1 and prints nothing. A value that does not parse keeps the page\n"
    "open with the framework's message.\n"
    "\n"
    "  --intensity N        intensity control: 0 None, 1 Manual, 2 Automatic\n"
    "                       (another value checks no button; default 0)\n"
    "  --gain DB_PER_M      lateral gain (default 0)\n"
    "  --mean N             mean value (default 0)\n"
    "  --screenshot FILE    draw the page into a PNG, then exit unless --press\n"
    "                       is given too\n"
    "  --press ok|cancel    press the button at once, for scripts\n"
    "  --help               show this help\n";

}  // namespace

std::variant<SettingsOptions, int> ParseSettingsOptions(std::span<const std::string_view> args,
                                                        std::string_view helpNote) {
  SettingsOptions options;
  CommandLine line("settings", kSettingsUsage,
                   std::string(kSettingsHelp) + "\n" + std::string(helpNote));
  const auto int32Into = [](int32_t& target) {
    return [&target](std::string_view value) {
      const auto number = ParseInt32(value);
      target = number.value_or(0);
      return number.has_value();
    };
  };
  line.Value("--intensity", int32Into(options.intensity));
  line.Value("--mean", int32Into(options.mean));
  line.Value("--gain", [&](std::string_view value) {
    const auto number = ParseFinite(value);
    if (!number || std::fabs(*number) > static_cast<double>(FLT_MAX)) return false;
    options.gain = static_cast<float>(*number);
    return true;
  });
  line.Value("--screenshot", [&](std::string_view value) {
    options.screenshot = std::string(value);
    return !value.empty();
  });
  line.Value("--press", [&](std::string_view value) {
    options.pressOk = value == "ok";
    return value == "ok" || value == "cancel";
  });
  if (const auto exit = line.Parse(args)) return *exit;
  if (!line.operands().empty()) return line.UsageError("takes no operands");
  return options;
}

int PrintSettingsValues(const ZElacSettingsDlg& page) {
  std::string json;
  JsonBuilder(json)
      .BeginObject()
      .Number("intensity", page.intensityControl())
      .Number("lateralGain", page.lateralGain())
      .Number("meanValue", page.meanValue())
      .EndObject();
  json += '\n';
  std::fputs(json.c_str(), stdout);
  return std::fflush(stdout) == 0 ? kExitOk : kExitFailure;
}

RegisteredResources::RegisteredResources() {
  if (platform::InitExtensionModule(record_, &record_, xsereader::ModuleResources())) {
    platform::AddToResourceChain(record_);
  }
}

RegisteredResources::~RegisteredResources() { platform::TermExtensionModule(record_); }

}  // namespace xsetool
