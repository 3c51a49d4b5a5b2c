// xse grid: soundings of many files binned into one depth grid, written as
// a GeoTIFF or BAG. Files are read in parallel, each into a partial grid of
// the cells it touched; the partial grids are merged at the end.
#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"
#include "interpreters/surveyreaderlib/soundings/grid.h"
#include "platform/terminal.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/gridoutput.h"
#include "tools/xse/gridpreview.h"
#include "tools/xse/headoption.h"
#include "tools/xse/inputsource.h"
#include "tools/xse/nodata.h"
#include "tools/xse/progressbar.h"

namespace xsetool {
namespace {

constexpr const char* kGridUsage =
    "usage: xse grid --cell METRES [--zone ZONE] [--head MODE] [--threads N] -o OUT FILE...\n";

constexpr const char* kGridHelp =
    "Bins the soundings of all files (as xse soundings makes them) into square\n"
    "cells of a UTM zone and writes, per cell, the mean depth, the count of\n"
    "soundings, their standard deviation, the minimum and the maximum depth.\n"
    "OUT ending in .bag is written as a BAG (elevation, negative depth, and\n"
    "the standard deviation as uncertainty); anything else as a GeoTIFF with\n"
    "one band per layer. A PNG preview of the mean depth goes beside it\n"
    "(OUT with .png for its extension).\n"
    "\n"
    "  --cell METRES  cell size, 0.01 or more\n"
    "  --zone ZONE    UTM zone as 32N or 33S (default: that of the first fix)\n"
    "  --head MODE    bathymetry head selection: all (default), first, second\n"
    "  --threads N    files read at once (default: the processor cores)\n"
    "  -o OUT         the grid to write\n"
    "  --help         show this help\n";

struct GridJob {
  double cell = 0;
  soundings::UtmZone zone;
  int32_t mode = ElacReader::kAllBeams;
};

// A target that only looks for the first WGS84 fix.
class FirstFix final : public quor::ISurveyTarget {
 public:
  void HandlePosition(const quor::NavigationRec& record) override {
    constexpr uint32_t kWgs84 = quor::NavigationRec::kWgs84 | quor::NavigationRec::kWgs84Datum;
    if (!found && (record.fieldMask & kWgs84) == kWgs84) {
      found = true;
      zone = soundings::ZoneOf(record.geographicFirst * 57.29577951308232,
                               record.geographicSecond * 57.29577951308232);
    }
  }
  bool found = false;
  soundings::UtmZone zone;
};

// Reads one file into `grid`; empty, or the message for the user.
std::string GridFile(const std::string& path, const GridJob& job, soundings::PartialGrid& grid,
                     std::atomic<uint64_t>& bytesDone) {
  if (std::string refused = StreamRefusal("grid", path); !refused.empty()) return refused;
  soundings::GridBinner binner(job.cell, job.zone, grid);
  soundings::SoundingTarget target(binner);
  elac::ReadStatistics statistics;
  ElacFile source(&target);
  source.SetMode(job.mode);
  source.SetStatistics(&statistics);
  if (!source.Open(path.c_str())) return "cannot open " + path + ": " + source.OpenFailure();
  int32_t processed = 0;
  while (source.receiveData(processed, 0)) {
    if (processed > 0) bytesDone += static_cast<uint64_t>(processed);
  }
  target.Finish();
  if (NoXseDataFound(statistics)) return path + ": no XSE data found";
  return {};
}

// The zone of a file's first WGS84 fix; empty, or the message for the user.
std::string ZoneOfFirstFix(const std::string& path, int32_t mode, soundings::UtmZone& zone) {
  if (std::string refused = StreamRefusal("grid", path); !refused.empty()) return refused;
  FirstFix first;
  elac::ReadStatistics statistics;
  ElacFile source(&first);
  source.SetMode(mode);
  source.SetStatistics(&statistics);
  if (!source.Open(path.c_str())) return "cannot open " + path + ": " + source.OpenFailure();
  int32_t processed = 0;
  while (!first.found && source.receiveData(processed, 0)) {
  }
  if (NoXseDataFound(statistics)) return path + ": no XSE data found";
  if (!first.found) return path + ": no WGS84 position to choose a UTM zone from; give --zone";
  zone = first.zone;
  return {};
}

// Every file on `threads` workers, each with its own partial grid; the
// messages of the files that failed, in the order given.
std::vector<std::string> GridFiles(const std::vector<std::string>& paths, const GridJob& job,
                                   unsigned threads, soundings::PartialGrid& total) {
  std::vector<soundings::PartialGrid> partials(threads);
  std::vector<std::string> errors(paths.size());
  std::atomic<size_t> next{0};
  std::atomic<uint64_t> bytesDone{0};
  std::atomic<unsigned> running{threads};
  uint64_t bytesTotal = 0;
  for (const std::string& path : paths) {
    ElacFile probe;
    if (probe.Open(path.c_str())) bytesTotal += probe.size64();
  }
  std::vector<std::thread> workers;
  for (unsigned t = 0; t < threads; ++t) {
    workers.emplace_back([&, t] {
      for (size_t i = next++; i < paths.size(); i = next++)
        errors[i] = GridFile(paths[i], job, partials[t], bytesDone);
      --running;
    });
  }
  ProgressBar progress(stderr, platform::IsTerminal(platform::StandardStream::kError), "grid",
                       bytesTotal);
  while (running.load() != 0) {
    progress.Update(bytesDone.load());
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  for (std::thread& worker : workers) worker.join();
  progress.Finish();
  for (const soundings::PartialGrid& partial : partials) total.Merge(partial);
  std::erase(errors, std::string());
  return errors;
}

// OUT with its extension replaced by .png.
std::string PreviewPath(const std::string& out) {
  const size_t slash = out.find_last_of("/\\");
  const size_t dot = out.rfind('.');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  return (hasExtension ? out.substr(0, dot) : out) + ".png";
}

// The grid and its preview written; false after telling the user why not.
bool WriteOutputs(const std::string& out, const soundings::PartialGrid& grid, const GridJob& job) {
  if (const std::string error = WriteGrid(out, grid, job.cell, job.zone); !error.empty()) {
    std::fprintf(stderr, "xse: cannot write %s: %s\n", out.c_str(), error.c_str());
    return false;
  }
  char title[128];
  std::snprintf(title, sizeof title, "mean depth, %g m cells, UTM %s", job.cell,
                soundings::ZoneName(job.zone).c_str());
  const std::string preview = PreviewPath(out);
  if (std::string error; !WriteGridPreview(preview, grid, job.cell, title, error)) {
    std::fprintf(stderr, "xse: cannot write %s: %s\n", preview.c_str(), error.c_str());
    return false;
  }
  return true;
}

bool ParseCell(std::string_view text, double& cell) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), cell);
  // From a centimetre: cell indices of any zone then fit 32 bits.
  return result.ec == std::errc{} && result.ptr == text.data() + text.size() && cell >= 0.01 &&
         cell < 1e6;
}

bool ParseThreads(std::string_view text, unsigned& threads) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), threads);
  return result.ec == std::errc{} && result.ptr == text.data() + text.size() && threads >= 1 &&
         threads <= 256;
}

}  // namespace

int RunGridCommand(std::span<const std::string_view> args) {
  GridJob job;
  std::optional<soundings::UtmZone> zone;
  unsigned threads = std::max(1u, std::thread::hardware_concurrency());
  std::string out;
  CommandLine line("grid", kGridUsage, kGridHelp);
  line.Value("--cell", [&job](std::string_view v) { return ParseCell(v, job.cell); });
  line.Value("--zone",
             [&zone](std::string_view v) { return (zone = soundings::ParseZone(v)).has_value(); });
  line.Value("--head", [&job](std::string_view v) { return ParseHeadMode(v, job.mode); });
  line.Value("--threads", [&threads](std::string_view v) { return ParseThreads(v, threads); });
  line.Value("-o", [&out](std::string_view v) { return !(out = std::string(v)).empty(); });
  if (const auto exit = line.Parse(args)) return *exit;
  if (job.cell <= 0) return line.UsageError("--cell is required");
  if (out.empty()) return line.UsageError("-o OUT is required");
  if (line.operands().empty()) return line.UsageError("no input file");

  if (const std::string problem = GridWriterProblem(); !problem.empty()) {
    std::fprintf(stderr, "xse: cannot write %s: %s\n", out.c_str(), problem.c_str());
    return kExitFailure;
  }
  const std::vector<std::string>& paths = line.operands();
  if (zone) {
    job.zone = *zone;
  } else if (const std::string error = ZoneOfFirstFix(paths.front(), job.mode, job.zone);
             !error.empty()) {
    std::fprintf(stderr, "xse: %s\n", error.c_str());
    return kExitFailure;
  }
  soundings::PartialGrid grid;
  const std::vector<std::string> errors =
      GridFiles(paths, job, std::min<unsigned>(threads, static_cast<unsigned>(paths.size())), grid);
  for (const std::string& error : errors) std::fprintf(stderr, "xse: %s\n", error.c_str());
  if (grid.soundings() == 0) {
    std::fprintf(stderr, "xse: no soundings to grid\n");
    return kExitFailure;
  }
  if (!WriteOutputs(out, grid, job)) return kExitFailure;
  const soundings::GridBounds bounds = soundings::BoundsOf(grid);
  std::fprintf(
      stderr, "%s: %zu x %zu cells of %g m, UTM %s, %llu soundings from %zu files; preview %s\n",
      out.c_str(), bounds.columns, bounds.rows, job.cell, soundings::ZoneName(job.zone).c_str(),
      static_cast<unsigned long long>(grid.soundings()), paths.size() - errors.size(),
      PreviewPath(out).c_str());
  return errors.empty() ? kExitOk : kExitFailure;
}

}  // namespace xsetool
