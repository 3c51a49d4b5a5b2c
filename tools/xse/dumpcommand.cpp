// xse dump: the records of every file as JSON lines, or the records of one
// kind as a CSV table.
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/recordfilter.h"
#include "interpreters/xsereader/host/xsereadermodule.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/csvwriter.h"
#include "tools/xse/headoption.h"
#include "tools/xse/inputsource.h"
#include "tools/xse/livehost.h"
#include "tools/xse/nodata.h"
#include "tools/xse/pluginreader.h"
#include "tools/xse/recordjsonwriter.h"

namespace xsetool {
namespace {

constexpr const char* kDumpUsage =
    "usage: xse dump [--format jsonl|csv] [--kind KINDS] [--limit N]\n"
    "                [--head all|first|second] [--with-file] [--degrees] FILE...\n"
    "       xse dump [options] --connect ADDRESS:PORT [--idle-exit SECONDS]\n"
    "                [--dead-after SECONDS]\n";

constexpr const char* kDumpHelp =
    "Decodes XSE files and writes the records the decoder delivers, in call\n"
    "order, on stdout: one JSON object per line, or with --format csv one\n"
    "table for one record kind (a header row, then a row per record; multibeam\n"
    "and sidescan give a row per beam or sample, keyed by ping and index).\n"
    "A FILE of - is standard input, read as a stream, as are a FIFO and a\n"
    "device: the same records as from a file of the same bytes.\n"
    "\n"
    "  --format FORMAT  jsonl (default) or csv (needs --kind of one kind)\n"
    "  --kind KINDS     only records of these kinds, comma-separated: startTime,\n"
    "                   parameter, position, gyro, motion, multibeam, sidescan\n"
    "  --limit N        stop after N records\n"
    "  --head MODE      bathymetry head selection: all (default), first, second\n"
    "  --with-file      the file's name first in every object (\"file\") or row\n"
    "  --degrees        position records end with latitude and longitude in\n"
    "                   degrees (N, E +; null or nan for a fix without WGS84)\n"
    "  --help           show this help\n"
    "\n"
    "Units (fields keep the records' units; CSV headers are the field names):\n"
    "  time                      seconds since 1970-01-01 UTC\n"
    "  geographicFirst, -Second  WGS84 latitude, longitude in radians (N, E +)\n"
    "  projectedFirst, -Second   northing, easting of a projected datum (metres)\n"
    "  heading                   degrees clockwise from north\n"
    "  roll, pitch, angles       degrees; latencyMs milliseconds\n"
    "  heave, thirdCoordinate, offsetX/Y/Z  as the source gives them (metres)\n"
    "  soundVelocity             metres per second\n"
    "  travelTime                seconds, one way\n"
    "  depth                     metres, positive down\n"
    "  acrossTrack, alongTrack   metres; across-track negative to port\n"
    "  slantRange                metres per side (seconds with fieldMask 0x8)\n"
    "  sampleInterval            seconds; samples as recorded, gains applied\n"
    "\n"
    "With --connect the records come live from the XSE server at ADDRESS:PORT\n"
    "(a host name, an IPv4 address or [IPv6]:PORT, looked up once; the plug-in\n"
    "connects to its first IPv4 address), read by the reader plug-in as the\n"
    "host runs it, and written exactly as for a file of the same bytes, each\n"
    "decoding pass's records as soon as the pass ends. The run ends when the\n"
    "server ends the data, --idle-exit SECONDS pass without a new record\n"
    "(counted from the start as well), --limit is reached, or Ctrl-C. Exit\n"
    "status 0 when frames were decoded and the exchange held, 1 with the\n"
    "reason on stderr when it failed or no frame came, 130 on Ctrl-C, 143 on\n"
    "SIGTERM (with stdout blocked, records not yet written are dropped).\n";

// The records of a live server, through the reader plug-in.
// Each decoding pass's records are written out when the pass ends, so a
// person watching a slow sonar sees each record as its frame arrives.
int DumpLive(const ServerAddress& server, const std::string& connect, const LiveLimits& limits,
             int32_t mode, quor::RecordFilter& filter, const std::function<bool()>& flush) {
  XseReaderModule module;
  PluginReader reader = LoadPluginReader(module);
  if (reader == nullptr) return kExitFailure;
  const XseReaderEntryPoints& entry = module.entry();
  LiveReportObserver observer;
  reader->SetObserver(&observer);
  LiveTap tap(
      &filter, [&filter] { return filter.done(); }, [&flush] { flush(); });
  entry.setRecordTap(reader.get(), &tap, mode);
  entry.setPassCallback(reader.get(), &LiveTap::OnPass, &tap);
  entry.setDeadAfter(reader.get(), limits.deadAfterS);
  int32_t result = 0;
  const int status =
      RunLiveSession(*reader, server, connect, limits, tap, observer.reports(), result);
  reader.reset();
  module.Unload();
  return status;
}

// Dumps each file in turn through `filter`, naming it first with
// `nameFile`; false when one could not be read or held no XSE data.
bool DumpFiles(const std::vector<std::string>& files, int32_t mode, quor::RecordFilter& filter,
               const std::function<bool()>& flush,
               const std::function<void(const std::string&)>& nameFile) {
  bool allRead = true;
  for (const auto& file : files) {
    if (filter.done()) break;
    nameFile(file);
    elac::ReadStatistics frames;
    InputSource source(&filter, mode, &frames);
    if (!source.Open(file)) {
      const std::string reason = source.OpenFailure();
      flush();
      std::fprintf(stderr, "xse: cannot open %s: %s\n", file.c_str(), reason.c_str());
      allRead = false;
      continue;
    }
    int32_t processed = 0;
    while (!filter.done() && source.Next(processed)) {
    }
    if (const std::string problem = InputProblem(source, frames); !problem.empty()) {
      flush();
      ReportInputProblem(file, problem);
      allRead = false;
    }
  }
  return allRead;
}

}  // namespace

int RunDumpCommand(std::span<const std::string_view> args) {
  int32_t mode = ElacReader::kAllBeams;
  bool csv = false;
  std::optional<quor::RecordKindSet> kinds;
  std::optional<uint64_t> limit;
  std::string connect;
  LiveLimits liveLimits;
  bool withFile = false;
  bool degrees = false;
  const std::string help = std::string(kDumpHelp) + kDeadAfterHelp;
  CommandLine line("dump", kDumpUsage, help);
  line.Flag("--with-file", withFile);
  line.Flag("--degrees", degrees);
  line.Value("--format", [&csv](std::string_view value) {
    csv = value == "csv";
    return value == "csv" || value == "jsonl";
  });
  line.Value("--kind", [&kinds](std::string_view value) {
    kinds = quor::ParseRecordKinds(value);
    return kinds.has_value();
  });
  line.Value("--limit", [&limit](std::string_view value) {
    limit = ParseUnsigned(value);
    return limit.has_value();
  });
  line.Value("--head", [&mode](std::string_view value) { return ParseHeadMode(value, mode); });
  std::optional<ServerAddress> server;
  line.Value("--connect", [&connect, &server](std::string_view value) {
    connect = value;
    server = ParseServerAddress(connect);
    return server.has_value();
  });
  line.Value("--idle-exit", [&liveLimits](std::string_view value) {
    liveLimits.idleExitMs = ParseSecondsAsMilliseconds(value).value_or(0);
    return liveLimits.idleExitMs > 0;
  });
  bool deadAfterGiven = false;
  line.Value("--dead-after", [&liveLimits, &deadAfterGiven](std::string_view value) {
    deadAfterGiven = true;
    return ParseDeadAfter(value, liveLimits.deadAfterS);
  });
  if (const auto exit = line.Parse(args)) return *exit;
  const std::vector<std::string>& files = line.operands();
  if (csv && !kinds) return line.UsageError("--format csv needs --kind");
  if (csv && kinds->count() != 1) return line.UsageError("--format csv takes one kind");
  if (server && !files.empty())
    return line.UsageError("--connect reads from the server, not from files");
  if (!server && liveLimits.idleExitMs > 0) return line.UsageError("--idle-exit needs --connect");
  if (!server && deadAfterGiven) return line.UsageError("--dead-after needs --connect");
  if (files.empty() && !server) return line.UsageError("no input file");

  std::optional<RecordJsonWriter> jsonWriter;
  std::optional<CsvRecordWriter> csvWriter;
  quor::ISurveyTarget* writer = nullptr;
  if (csv) {
    auto only = quor::RecordKind::kStartTime;  // the one kind of the set
    for (const auto kind : quor::kAllRecordKinds)
      if (kinds->test(static_cast<size_t>(kind))) only = kind;
    writer = &csvWriter.emplace(stdout, only, withFile, degrees);
  } else {
    writer = &jsonWriter.emplace(stdout);
    if (degrees) jsonWriter->AddDegrees();
  }
  const std::function<bool()> flush = [&] {
    return csv ? csvWriter->Flush() : jsonWriter->Flush();
  };
  quor::RecordFilter filter(*writer, kinds.value_or(quor::RecordKindSet().set()), limit);

  int status = kExitOk;
  if (server) status = DumpLive(*server, connect, liveLimits, mode, filter, flush);
  if (!DumpFiles(files, mode, filter, flush, [&](const std::string& file) {
        if (withFile) csv ? csvWriter->SetFile(file) : jsonWriter->SetFile(file);
      }))
    status = kExitFailure;
  if (!flush()) {
    std::fprintf(stderr, "xse: cannot write to standard output\n");
    return kExitFailure;
  }
  return status;
}

}  // namespace xsetool
