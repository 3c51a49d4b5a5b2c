// xse info: a summary of each file (frames, records, pings, time span,
// positions, parameters, decode rate) as text or JSON.
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "platform/terminal.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/nodata.h"
#include "tools/xse/progressbar.h"
#include "tools/xse/surveyreport.h"

namespace xsetool {
namespace {

constexpr const char* kInfoUsage = "usage: xse info [--json] FILE...\n";

constexpr const char* kInfoHelp =
    "Decodes each file and prints a summary: size, byte orders, frames by type,\n"
    "frames rejected and bytes skipped, records by kind, pings and beams per\n"
    "ping, time span (UTC), position bounds (as recorded), parameter records by\n"
    "name, and the decode rate. While a large file decodes, a progress bar is\n"
    "shown on stderr when that is a terminal.\n"
    "\n"
    "  --json   one JSON object per file, one per line\n"
    "  --help   show this help\n";

// Decodes `path` into `summary`; false (with the reason) when it cannot be
// opened.
bool Summarise(const std::string& path, FileSummary& summary, std::string& error) {
  ElacFile source(&summary.records);
  source.SetStatistics(&summary.frames);
  if (!source.Open(path.c_str())) {
    error = source.OpenFailure();
    return false;
  }
  summary.path = path;
  summary.size = source.size64();
  ProgressBar progress(stderr, platform::IsTerminal(platform::StandardStream::kError), path,
                       summary.size);
  const auto start = std::chrono::steady_clock::now();
  uint64_t done = 0;
  int32_t processed = 0;
  while (source.receiveData(processed, 0)) {
    done += static_cast<uint64_t>(processed);
    progress.Update(done);
  }
  summary.decodeSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return true;
}

}  // namespace

int RunInfoCommand(std::span<const std::string_view> args) {
  bool json = false;
  CommandLine line("info", kInfoUsage, kInfoHelp);
  line.Flag("--json", json);
  if (const auto exit = line.Parse(args)) return *exit;
  const std::vector<std::string>& files = line.operands();
  if (files.empty()) return line.UsageError("no input file");

  int status = kExitOk;
  bool first = true;
  for (const auto& file : files) {
    FileSummary summary;
    std::string error;
    if (!Summarise(file, summary, error)) {
      std::fflush(stdout);
      std::fprintf(stderr, "xse: cannot open %s: %s\n", file.c_str(), error.c_str());
      status = kExitFailure;
      continue;
    }
    if (NoXseDataFound(summary.frames)) {
      std::fflush(stdout);
      ReportNoXseData(file);
      status = kExitFailure;
      continue;
    }
    if (!json && !first) std::fputc('\n', stdout);
    std::fputs(json ? FormatSummaryJson(summary).c_str() : FormatSummaryText(summary).c_str(),
               stdout);
    std::fflush(stdout);
    first = false;
  }
  if (std::ferror(stdout)) {
    std::fprintf(stderr, "xse: cannot write to standard output\n");
    return kExitFailure;
  }
  return status;
}

}  // namespace xsetool
