// xse dump: the records of every file as JSON lines, or the records of one
// kind as a CSV table.
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/xsereader/host/xsereadermodule.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commands.h"
#include "tools/xse/csvwriter.h"
#include "tools/xse/livehost.h"
#include "tools/xse/recordfilter.h"
#include "tools/xse/recordjsonwriter.h"

namespace xsetool {
namespace {

constexpr const char* kDumpUsage =
    "usage: xse dump [--format jsonl|csv] [--kind KIND] [--limit N]\n"
    "                [--head all|first|second] FILE...\n"
    "       xse dump [options] --connect ADDRESS:PORT [--idle-exit SECONDS]\n";

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
    "  --help           show this help\n"
    "\n"
    "With --connect the records come live from the XSE server at ADDRESS:PORT\n"
    "(an IPv4 address), read by the reader plug-in as the host runs it, and\n"
    "are written exactly as for a file of the same bytes. The run ends when\n"
    "the server ends the data, --idle-exit SECONDS pass without a new record\n"
    "(counted from the start as well), --limit is reached, or Ctrl-C. Exit\n"
    "status 0 when data arrived and the exchange held, 1 with the reason on\n"
    "stderr when it failed or no data came, 130 when stopped by Ctrl-C.\n";

int DumpUsageError(const std::string& message) {
  std::fprintf(stderr, "xse dump: %s\n%s", message.c_str(), kDumpUsage);
  return kExitUsage;
}

// The records of a live server, through the reader plug-in.
int DumpLive(const std::string& connect, const LiveLimits& limits, int32_t mode,
             RecordFilter& filter) {
  const std::optional<ServerAddress> server = ParseServerAddress(connect);
  if (!server) return DumpUsageError("bad server address '" + connect + "' (ADDRESS:PORT)");
  XseReaderModule module;
  if (!module.Load(XseReaderModule::DefaultPath())) {
    std::fprintf(stderr, "xse: cannot load the reader plug-in: %s\n", module.error().c_str());
    return kExitFailure;
  }
  const XseReaderEntryPoints& entry = module.entry();
  std::unique_ptr<CReader, decltype(entry.destroyReader)> reader(entry.createReader(0),
                                                                 entry.destroyReader);
  if (reader == nullptr) {
    std::fprintf(stderr, "xse: the reader plug-in did not start\n");
    return kExitFailure;
  }
  LiveReportObserver observer;
  reader->SetObserver(&observer);
  LiveTap tap(&filter, [&filter] { return filter.done(); });
  entry.setRecordTap(reader.get(), &tap, mode);
  int32_t result = 0;
  const int status =
      RunLiveSession(*reader, *server, connect, limits, tap, observer.reports(), result);
  reader.reset();
  module.Unload();
  return status;
}

}  // namespace

int RunDumpCommand(std::span<const std::string_view> args) {
  std::vector<std::string> files;
  int32_t mode = ElacReader::kAllBeams;
  bool csv = false;
  std::optional<RecordKind> kind;
  std::optional<uint64_t> limit;
  std::string connect;
  LiveLimits liveLimits;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string_view arg = args[i];
    if (arg == "--help" || arg == "-h") {
      std::fputs(kDumpUsage, stdout);
      std::fputs(kDumpHelp, stdout);
      return kExitOk;
    }
    if (arg == "--connect" || arg == "--idle-exit") {
      if (i + 1 >= args.size()) return DumpUsageError(std::string(arg) + " needs a value");
      const std::string_view value = args[++i];
      if (arg == "--connect") {
        connect = value;
      } else {
        const auto seconds = ParsePositive(value);
        if (!seconds || *seconds > 1e6)
          return DumpUsageError("bad idle time '" + std::string(value) + "'");
        liveLimits.idleExitMs = static_cast<uint64_t>(*seconds * 1000.0);
      }
      continue;
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
  if (!connect.empty() && !files.empty())
    return DumpUsageError("--connect reads from the server, not from files");
  if (connect.empty() && liveLimits.idleExitMs > 0)
    return DumpUsageError("--idle-exit needs --connect");
  if (files.empty() && connect.empty()) return DumpUsageError("no input file");

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
  if (!connect.empty()) status = DumpLive(connect, liveLimits, mode, filter);
  if (status == kExitUsage) return status;
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
