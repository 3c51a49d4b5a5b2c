// xse check: asks the reader plug-in, as the host does before a run,
// whether it can read each file.
#include <cstdio>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/xsereader/host/xsereadermodule.h"
#include "platform/file.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/pluginreader.h"

namespace xsetool {
namespace {

constexpr const char* kCheckUsage = "usage: xse check [--ext] [--why] FILE...\n";

constexpr const char* kCheckHelp =
    "Prints \"FILE: yes\" or \"FILE: no\" for each file: whether the reader\n"
    "plug-in recognises it as XSE data (a first frame at a 4-byte step that\n"
    "fits the file). A file that cannot be opened (missing, a directory, a\n"
    "FIFO or device) is a no, with the reason on stderr. Exit status 0 only\n"
    "when every answer is yes.\n"
    "\n"
    "  --ext   also require the extension .xse (any letter case)\n"
    "  --why   after each answer, the first frames the reader rejected, one\n"
    "          line each: \"  rejected at OFFSET: REASON\"\n"
    "  --help  show this help\n";

// Reads the whole file and prints the first rejections with their offsets.
void PrintRejections(const std::string& file) {
  elac::ReadStatistics frames;
  ElacFile source(nullptr);
  source.SetStatistics(&frames);
  if (!source.Open(file.c_str())) return;
  int32_t processed = 0;
  while (source.receiveData(processed, 0)) {
  }
  for (size_t i = 0; i < frames.RejectionsKept(); ++i) {
    const elac::DecodeResult& rejection = frames.firstRejections[i];
    std::printf("  rejected at %llu: %s\n", static_cast<unsigned long long>(rejection.offset),
                elac::DecodeStatusName(rejection.status));
  }
  if (frames.framesRejected > frames.RejectionsKept())
    std::printf("  ... %llu more\n",
                static_cast<unsigned long long>(frames.framesRejected - frames.RejectionsKept()));
}

}  // namespace

int RunCheckCommand(std::span<const std::string_view> args) {
  bool extensionCheck = false, why = false;
  CommandLine line("check", kCheckUsage, kCheckHelp);
  line.Flag("--ext", extensionCheck);
  line.Flag("--why", why);
  if (const auto exit = line.Parse(args)) return *exit;
  const std::vector<std::string>& files = line.operands();
  if (files.empty()) return line.UsageError("no input file");

  XseReaderModule module;
  if (!LoadPluginModule(module)) return kExitFailure;
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
    if (why) PrintRejections(file);
    allYes = allYes && yes;
  }
  return allYes ? kExitOk : kExitFailure;
}

}  // namespace xsetool
