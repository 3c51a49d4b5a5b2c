// xse dump: every record of every file as a stream of JSON lines.
#include <cstdio>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "tools/xse/commands.h"
#include "tools/xse/recordjsonwriter.h"

namespace xsetool {
namespace {

constexpr const char* kDumpUsage =
    "usage: xse dump [--format jsonl] [--head all|first|second] FILE...\n";

constexpr const char* kDumpHelp =
    "Decodes XSE files and writes every record the decoder delivers, in call\n"
    "order, one JSON object per line on stdout.\n"
    "\n"
    "  --format jsonl   output format (default jsonl)\n"
    "  --head MODE      bathymetry head selection: all (default), first, second\n"
    "  --help           show this help\n";

int DumpUsageError(const std::string& message) {
  std::fprintf(stderr, "xse dump: %s\n%s", message.c_str(), kDumpUsage);
  return kExitUsage;
}

}  // namespace

int RunDumpCommand(std::span<const std::string_view> args) {
  std::vector<std::string> files;
  int32_t mode = ElacReader::kAllBeams;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string_view arg = args[i];
    if (arg == "--help" || arg == "-h") {
      std::fputs(kDumpUsage, stdout);
      std::fputs(kDumpHelp, stdout);
      return kExitOk;
    }
    if (arg == "--format" || arg == "--head") {
      if (i + 1 >= args.size()) return DumpUsageError(std::string(arg) + " needs a value");
      const std::string_view value = args[++i];
      if (arg == "--format") {
        if (value != "jsonl") return DumpUsageError("unknown format '" + std::string(value) + "'");
      } else if (value == "all") {
        mode = ElacReader::kAllBeams;
      } else if (value == "first") {
        mode = ElacReader::kFirstHead;
      } else if (value == "second") {
        mode = ElacReader::kSecondHead;
      } else {
        return DumpUsageError("unknown head '" + std::string(value) + "'");
      }
      continue;
    }
    if (arg.size() > 1 && arg.front() == '-' && arg != "--")
      return DumpUsageError("unknown option '" + std::string(arg) + "'");
    if (arg != "--") files.emplace_back(arg);
  }
  if (files.empty()) return DumpUsageError("no input file");

  RecordJsonWriter writer(stdout);
  int status = kExitOk;
  for (const auto& file : files) {
    ElacFile source(&writer);
    source.SetMode(mode);
    if (!source.Open(file.c_str())) {
      const std::string reason = source.IsOpen() ? "file is empty" : source.openError();
      writer.Flush();
      std::fprintf(stderr, "xse: cannot open %s: %s\n", file.c_str(), reason.c_str());
      status = kExitFailure;
      continue;
    }
    int32_t processed = 0;
    while (source.receiveData(processed, 0)) {
    }
  }
  if (!writer.Flush()) {
    std::fprintf(stderr, "xse: cannot write to standard output\n");
    return kExitFailure;
  }
  return status;
}

}  // namespace xsetool
