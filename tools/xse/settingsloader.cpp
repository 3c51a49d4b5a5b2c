// xse settings, the tool's side: loads the module that holds the page and
// the code that shows it (Qt, or the system's property sheets on Windows),
// and runs the command there.
#include <cstdio>
#include <string>
#include <vector>

#include "platform/dynamiclibrary.h"
#include "platform/modulepath.h"
#include "tools/xse/commands.h"
#include "tools/xse/settingsmodule.h"

namespace xsetool {

int RunSettingsCommand(std::span<const std::string_view> args) {
#ifdef XSE_INSTALLED_SETTINGS_MODULE
  const std::string installed = XSE_INSTALLED_SETTINGS_MODULE;
#else
  const std::string installed;
#endif
  const std::string path = platform::FindModuleBesideProgram(
      platform::ModuleFileName("xse_settings"), installed, XSE_BUILT_SETTINGS_MODULE);
  platform::DynamicLibrary module;
  const auto run = module.Open(path)
                       ? module.Function<XseSettingsCommandFunction>(kXseSettingsCommandName)
                       : nullptr;
  if (run == nullptr) {
    std::fprintf(stderr, "xse: cannot load the settings page: %s\n", module.error().c_str());
    return kExitFailure;
  }
  std::vector<std::string> owned(args.begin(), args.end());
  std::vector<const char*> argv;
  argv.reserve(owned.size());
  for (const std::string& arg : owned) argv.push_back(arg.c_str());
  return run(static_cast<int>(argv.size()), argv.data());
}

}  // namespace xsetool
