// xse info: a summary of each file (frames, records, pings, time span,
// positions, parameters, decode rate) as text or JSON.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/terminal.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/inputsource.h"
#include "tools/xse/progressbar.h"
#include "tools/xse/surveyreport.h"

namespace xsetool {
namespace {

constexpr const char* kInfoUsage = "usage: xse info [--json] FILE...\n";

constexpr const char* kInfoHelp =
    "Decodes each file and prints a summary: size, byte orders, frames by type,\n"
    "frames rejected and bytes skipped, groups decoded and skipped (each\n"
    "reason with its first offset), records by kind, pings and beams per\n"
    "ping, time span (UTC), position bounds (as recorded), parameter records by\n"
    "name, and the decode rate. While a large file decodes, a progress bar is\n"
    "shown on stderr when that is a terminal. A FILE of - is standard input,\n"
    "read as a stream, as are a FIFO and a device.\n"
    "\n"
    "  --json   one JSON object per file, one per line\n"
    "  --help   show this help\n";

// Decodes `path` into `summary`. What went wrong, as users are told after
// "xse: ", or empty when the summary can be shown.
std::string Summarise(const std::string& path, FileSummary& summary) {
  InputSource source(&summary.records, ElacReader::kAllBeams, &summary.frames);
  if (!source.Open(path)) return "cannot open " + path + ": " + source.OpenFailure();
  summary.path = path;
  summary.size = source.size();
  ProgressBar progress(stderr, platform::IsTerminal(platform::StandardStream::kError), path,
                       summary.size);
  const auto start = std::chrono::steady_clock::now();
  uint64_t done = 0;
  int32_t processed = 0;
  while (source.Next(processed)) {
    done += static_cast<uint64_t>(processed);
    progress.Update(done);
  }
  // A stream's size is what it brought.
  if (summary.size == 0) summary.size = done + static_cast<uint64_t>(std::max(processed, 0));
  summary.decodeSeconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  const std::string problem = InputProblem(source, summary.frames);
  return problem.empty() ? problem : path + ": " + problem;
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
    if (const std::string error = Summarise(file, summary); !error.empty()) {
      std::fflush(stdout);
      std::fprintf(stderr, "xse: %s\n", error.c_str());
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
