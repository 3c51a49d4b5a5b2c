// xse dump: the records of every file as JSON lines, or the records of one
// kind as a CSV table.
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commands.h"
#include "tools/xse/csvwriter.h"
#include "tools/xse/recordfilter.h"
#include "tools/xse/recordjsonwriter.h"

namespace xsetool {
namespace {

constexpr const char* kDumpUsage =
    "usage: xse dump [--format jsonl|csv] [--kind KIND] [--limit N]\n"
    "                [--head all|first|second] FILE...\n";

constexpr const char* kDumpHelp =
    "Decodes XSE files and writes the records the decoder delivers, in call\n"
    "order, on stdout: one JSON object per line, or with --format csv one\n"
    "table for one record kind (a header row, then a row per record; multibeam\n"
    "and sidescan give a row per beam or sample, keyed by ping and index).\n"
    "\n"
    "  --format FORMAT  jsonl (default) or csv (needs --kind)\n"
    "  --kind KIND      only records of KIND: startTime, parameter, position,\n"
    "                   gyro, motion, multibeam, sidescan\n"
    "  --limit N        stop after N records\n"
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
  bool csv = false;
  std::optional<RecordKind> kind;
  std::optional<uint64_t> limit;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string_view arg = args[i];
    if (arg == "--help" || arg == "-h") {
      std::fputs(kDumpUsage, stdout);
      std::fputs(kDumpHelp, stdout);
      return kExitOk;
    }
    if (arg == "--format" || arg == "--head" || arg == "--kind" || arg == "--limit") {
      if (i + 1 >= args.size()) return DumpUsageError(std::string(arg) + " needs a value");
      const std::string_view value = args[++i];
      if (arg == "--format") {
        if (value != "jsonl" && value != "csv")
          return DumpUsageError("unknown format '" + std::string(value) + "'");
        csv = value == "csv";
      } else if (arg == "--kind") {
        kind = ParseRecordKind(value);
        if (!kind) return DumpUsageError("unknown kind '" + std::string(value) + "'");
      } else if (arg == "--limit") {
        limit = ParseUnsigned(value);
        if (!limit) return DumpUsageError("invalid limit '" + std::string(value) + "'");
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
  if (csv && !kind) return DumpUsageError("--format csv needs --kind");
  if (files.empty()) return DumpUsageError("no input file");

  std::optional<RecordJsonWriter> jsonWriter;
  std::optional<CsvRecordWriter> csvWriter;
  quor::ISurveyTarget* writer = nullptr;
  if (csv) {
    writer = &csvWriter.emplace(stdout, *kind);
  } else {
    writer = &jsonWriter.emplace(stdout);
  }
  const auto flush = [&] { return csv ? csvWriter->Flush() : jsonWriter->Flush(); };
  RecordFilter filter(*writer, kind, limit);

  int status = kExitOk;
  for (const auto& file : files) {
    if (filter.done()) break;
    ElacFile source(&filter);
    source.SetMode(mode);
    if (!source.Open(file.c_str())) {
      const std::string reason = source.IsOpen() ? "file is empty" : source.openError();
      flush();
      std::fprintf(stderr, "xse: cannot open %s: %s\n", file.c_str(), reason.c_str());
      status = kExitFailure;
      continue;
    }
    int32_t processed = 0;
    while (!filter.done() && source.receiveData(processed, 0)) {
    }
  }
  if (!flush()) {
    std::fprintf(stderr, "xse: cannot write to standard output\n");
    return kExitFailure;
  }
  return status;
}

}  // namespace xsetool
