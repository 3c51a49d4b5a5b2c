// xse check: asks the reader plug-in, as the host does before a run,
// whether it can read each file.
#include <cstdio>
#include <string>
#include <vector>

#include "interpreters/xsereader/host/xsereadermodule.h"
#include "platform/file.h"
#include "tools/xse/commands.h"

namespace xsetool {
namespace {

constexpr const char* kCheckUsage = "usage: xse check [--ext] FILE...\n";

constexpr const char* kCheckHelp =
    "Prints \"FILE: yes\" or \"FILE: no\" for each file: whether the reader\n"
    "plug-in recognises it as XSE data (a first frame at a 4-byte step that\n"
    "fits the file). A file that cannot be opened (missing, a directory, a\n"
    "FIFO or device) is a no, with the reason on stderr. Exit status 0 only\n"
    "when every answer is yes.\n"
    "\n"
    "  --ext   also require the extension .xse (any letter case)\n"
    "  --help  show this help\n";

int CheckUsageError(const std::string& message) {
  std::fprintf(stderr, "xse check: %s\n%s", message.c_str(), kCheckUsage);
  return kExitUsage;
}

}  // namespace

int RunCheckCommand(std::span<const std::string_view> args) {
  bool extensionCheck = false;
  std::vector<std::string> files;
  for (const std::string_view arg : args) {
    if (arg == "--help" || arg == "-h") {
      std::fputs(kCheckUsage, stdout);
      std::fputs(kCheckHelp, stdout);
      return kExitOk;
    }
    if (arg == "--ext") {
      extensionCheck = true;
    } else if (arg.size() > 1 && arg.front() == '-' && arg != "--") {
      return CheckUsageError("unknown option '" + std::string(arg) + "'");
    } else if (arg != "--") {
      files.emplace_back(arg);
    }
  }
  if (files.empty()) return CheckUsageError("no input file");

  XseReaderModule module;
  if (!module.Load(XseReaderModule::DefaultPath())) {
    std::fprintf(stderr, "xse check: cannot load the reader plug-in: %s\n", module.error().c_str());
    return kExitFailure;
  }
  bool allYes = true;
  for (const std::string& file : files) {
    const bool yes = module.entry().canReadFile(file.c_str(), extensionCheck ? 1 : 0) != 0;
    // A "no" for a file that cannot even be opened (missing, unreadable, a
    // FIFO or a directory) says why on stderr.
    platform::ReadOnlyFile probe;
    if (!yes && !probe.Open(file)) {
      std::fflush(stdout);
      std::fprintf(stderr, "xse: cannot open %s: %s\n", file.c_str(), probe.error().c_str());
    }
    std::printf("%s: %s\n", file.c_str(), yes ? "yes" : "no");
    allYes = allYes && yes;
  }
  return allYes ? kExitOk : kExitFailure;
}

}  // namespace xsetool
