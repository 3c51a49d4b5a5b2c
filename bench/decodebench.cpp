// Decode-speed benchmarks of the XSE reader, on a survey file made by
// `xse gen`:
//   - decoding the file the way the plug-in does (ElacFile, one frame per
//     receiveData, every record read by a consumer) against a plain
//     sequential read of the same file, both from a warm page cache;
//   - decoding frames already in memory against copying the same bytes;
//   - heap allocations per frame once decoding is steady;
//   - peak resident memory of a decode (--peak-rss, one process per file,
//     since the peak never goes down);
//   - searching through 1 GiB of zeros to the one frame behind them, as a
//     recorder's damaged stretch (--zeros, a file made when missing),
//     against a raw read of the same file.
// Google Benchmark's own report goes to stderr; stdout gets the summary rows
// that scripts/bench collects into one table.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "allocationcount/allocationcount.h"
#include "bench/summarytable.h"
#include "bench/touchingtarget.h"
#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/surveyreaderlib/elacreader/framesearch.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "platform/file.h"
#include "platform/memoryusage.h"
#include "platform/paths.h"
#include "platform/processinfo.h"
#include "platform/stdiofile.h"
#include "tools/generator/surveygenerator.h"

namespace {

using xsebench::Mebibytes;
using xsebench::PrintSummaryRow;
using xsebench::TouchingTarget;

constexpr const char* kUsage =
    "usage: xse_bench --file=SURVEY.xse [--zeros=ZEROS.xse] [--memory-mib=N] [--repetitions=N]\n"
    "                 [benchmark flags]\n"
    "       xse_bench --peak-rss=SURVEY.xse\n"
    "       xse_bench --smoke\n";

// The same read size as the decoder's own file stream.
constexpr size_t kReadBlock = 256 * 1024;
// Steady state: every frame kind has been seen well before this many frames.
constexpr uint64_t kWarmUpFrames = 200;

struct Config {
  std::string file;
  uint64_t fileSize = 0;
  std::string zeros;
  uint64_t zerosSize = 0;
  uint64_t memoryBytes = 64ull << 20;
  int repetitions = 5;
};
Config gConfig;

// Whole frames from the front of the file, for the in-memory benchmarks.
struct FramesInMemory {
  std::vector<uint8_t> bytes;
  std::vector<std::span<const uint8_t>> frames;  // start marker, size and body
};
FramesInMemory gMemory;

// Reads the file block by block, handing each block's bytes to `look`.
template <typename Look>
uint64_t ReadWholeFile(const std::string& path, std::vector<uint8_t>& block, Look look) {
  platform::ReadOnlyFile file;
  if (!file.Open(path)) return 0;
  uint64_t offset = 0;
  for (;;) {
    const auto count = file.ReadAt(offset, block);
    if (!count || *count == 0) return offset;
    look(std::span<const uint8_t>(block.data(), *count));
    offset += *count;
  }
}

uint64_t ReadWholeFile(const std::string& path, std::vector<uint8_t>& block) {
  return ReadWholeFile(path, block, [](std::span<const uint8_t>) {});
}

bool LoadFrames(const std::string& path, uint64_t maxBytes, FramesInMemory& memory) {
  platform::ReadOnlyFile file;
  if (!file.Open(path)) return false;
  memory.bytes.resize(std::min<uint64_t>(maxBytes, gConfig.fileSize));
  size_t filled = 0;
  while (filled < memory.bytes.size()) {
    const auto count =
        file.ReadAt(filled, {memory.bytes.data() + filled, memory.bytes.size() - filled});
    if (!count || *count == 0) break;
    filled += *count;
  }
  memory.bytes.resize(filled);
  // Generated files hold frames back to back; the walk stops at the first
  // frame the loaded bytes do not hold whole.
  size_t at = 0;
  while (at + elac::kFrameEnvelopeSize <= filled) {
    const uint8_t* start = memory.bytes.data() + at;
    const auto order = elac::FrameByteOrder({start, 4});
    if (!order) break;
    const uint64_t length =
        elac::kFrameEnvelopeSize + elac::LoadScalar<uint32_t>(start + 4, *order);
    if (at + length + 4 > filled) break;
    memory.frames.emplace_back(start, length);
    at += length + 4;
  }
  memory.bytes.resize(at);
  return !memory.frames.empty();
}

struct DecodeResult {
  uint64_t frames = 0;
  uint64_t records = 0;
  uint64_t allocations = 0;  // after the warm-up frames
  uint64_t steadyFrames = 0;
};

DecodeResult DecodeFile(const std::string& path) {
  DecodeResult result;
  TouchingTarget target;
  ElacFile source(&target);
  if (!source.Open(path.c_str())) return result;
  int32_t processed = 0;
  uint64_t allocationsBefore = 0;
  while (source.receiveData(processed, 0)) {
    if (++result.frames == kWarmUpFrames) allocationsBefore = xsealloc::AllocationCount();
  }
  if (result.frames > kWarmUpFrames) {
    result.allocations = xsealloc::AllocationCount() - allocationsBefore;
    result.steadyFrames = result.frames - kWarmUpFrames;
  }
  result.records = target.records();
  benchmark::DoNotOptimize(target.sum());
  return result;
}

void RawReadOf(benchmark::State& state, const std::string& path, uint64_t size) {
  std::vector<uint8_t> block(kReadBlock);
  for (auto _ : state) {
    const uint64_t read = ReadWholeFile(path, block);
    benchmark::DoNotOptimize(block.data());
    if (read != size) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(size));
}

void RawRead(benchmark::State& state) { RawReadOf(state, gConfig.file, gConfig.fileSize); }

void RawReadZeros(benchmark::State& state) { RawReadOf(state, gConfig.zeros, gConfig.zerosSize); }

void SearchZeros(benchmark::State& state) {
  for (auto _ : state) {
    if (DecodeFile(gConfig.zeros).frames != 1) state.SkipWithError("the frame was not found");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(gConfig.zerosSize));
}

// 1 GiB of zeros and the first frame of a generated survey.
bool MakeZerosFile(const std::string& path) {
  std::FILE* out = platform::OpenStdioFile(path, "wb");
  if (out == nullptr) return false;
  const std::vector<uint8_t> zeros(kReadBlock, 0);
  bool ok = true;
  for (uint64_t written = 0; ok && written < (1ull << 30); written += zeros.size())
    ok = std::fwrite(zeros.data(), 1, zeros.size(), out) == zeros.size();
  xsetool::SurveyGenerator generator(xsetool::SurveyOptions{});
  const auto frame = generator.NextFrame();
  ok = ok && std::fwrite(frame.data(), 1, frame.size(), out) == frame.size();
  ok = std::fclose(out) == 0 && ok;
  return ok;
}

// Folds every byte into one word, 64 bytes at a time in independent lanes.
uint64_t FoldBytes(std::span<const uint8_t> bytes) {
  std::array<uint64_t, 8> lanes{};
  size_t i = 0;
  for (; i + sizeof lanes <= bytes.size(); i += sizeof lanes) {
    std::array<uint64_t, 8> chunk;
    std::memcpy(chunk.data(), bytes.data() + i, sizeof chunk);
    for (size_t j = 0; j < lanes.size(); ++j) lanes[j] ^= chunk[j];
  }
  uint64_t folded = 0;
  for (; i < bytes.size(); ++i) folded ^= bytes[i];
  for (const uint64_t lane : lanes) folded ^= lane;
  return folded;
}

// The least any decoder has to do: read the file and look at every byte once.
void ReadAndTouch(benchmark::State& state) {
  std::vector<uint8_t> block(kReadBlock);
  for (auto _ : state) {
    uint64_t folded = 0;
    const uint64_t read =
        ReadWholeFile(gConfig.file, block, [&folded](auto bytes) { folded ^= FoldBytes(bytes); });
    benchmark::DoNotOptimize(folded);
    if (read != gConfig.fileSize) state.SkipWithError("short read");
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(gConfig.fileSize));
}

void DecodeFileBenchmark(benchmark::State& state) {
  DecodeResult result;
  for (auto _ : state) result = DecodeFile(gConfig.file);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(gConfig.fileSize));
  state.counters["frames"] = static_cast<double>(result.frames);
  state.counters["records"] = static_cast<double>(result.records);
  state.counters["allocs/frame"] =
      result.steadyFrames != 0
          ? static_cast<double>(result.allocations) / static_cast<double>(result.steadyFrames)
          : 0.0;
}

void DecodeInMemory(benchmark::State& state) {
  TouchingTarget target;
  ElacReader reader(&target, ElacReader::kAllBeams);
  for (auto _ : state) {
    for (const auto& frame : gMemory.frames)
      (void)reader.DecodeBuffer(frame.data(), static_cast<uint32_t>(frame.size()));
  }
  benchmark::DoNotOptimize(target.sum());
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(gMemory.bytes.size()));
  state.counters["frames"] = static_cast<double>(gMemory.frames.size());
}

void CopyInMemory(benchmark::State& state) {
  std::vector<uint8_t> copy(gMemory.bytes.size());
  for (auto _ : state) {
    std::memcpy(copy.data(), gMemory.bytes.data(), gMemory.bytes.size());
    benchmark::DoNotOptimize(copy.data());
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(gMemory.bytes.size()));
}

// The file benchmarks count the CPU time of the whole process: the file
// stream reads ahead on a thread of its own.

// Keeps Google Benchmark's report and notes the fastest repetition of each
// benchmark, in wall and in CPU time: on a busy machine the minimum is the
// least disturbed run, and CPU time leaves out the waits for a processor.
class CollectingReporter final : public benchmark::ConsoleReporter {
 public:
  struct Times {
    double wall = 0;
    double cpu = 0;
  };

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      const double unit = benchmark::GetTimeUnitMultiplier(run.time_unit);
      const Times times{run.GetAdjustedRealTime() * unit, run.GetAdjustedCPUTime() * unit};
      auto [entry, added] = fastest_.try_emplace(run.run_name.function_name, times);
      if (!added) {
        entry->second.wall = std::min(entry->second.wall, times.wall);
        entry->second.cpu = std::min(entry->second.cpu, times.cpu);
      }
    }
    ConsoleReporter::ReportRuns(runs);
  }
  std::optional<Times> Fastest(const std::string& name) const {
    const auto entry = fastest_.find(name);
    if (entry == fastest_.end()) return std::nullopt;
    return entry->second;
  }

 private:
  std::map<std::string, Times> fastest_;
};

std::string Ratio(const std::optional<CollectingReporter::Times>& numerator,
                  const std::optional<CollectingReporter::Times>& denominator, bool cpu) {
  if (!numerator || !denominator) return "n/a";
  const double top = cpu ? numerator->cpu : numerator->wall;
  const double bottom = cpu ? denominator->cpu : denominator->wall;
  if (bottom <= 0) return "n/a";
  char text[32];
  std::snprintf(text, sizeof text, "%.2fx", top / bottom);
  return text;
}

int PeakRss(const std::string& path) {
  const auto before = platform::PeakResidentBytes();
  const DecodeResult result = DecodeFile(path);
  const auto after = platform::PeakResidentBytes();
  if (result.frames == 0 || !before || !after) {
    std::fprintf(stderr, "xse_bench: cannot decode %s\n", path.c_str());
    return 1;
  }
  std::error_code ignored;
  const auto size = std::filesystem::file_size(path, ignored);
  PrintSummaryRow(
      "peak RSS decoding " + Mebibytes(static_cast<double>(size)) + " file",
      Mebibytes(static_cast<double>(*after)),
      "under 16 MiB, flat (" + Mebibytes(static_cast<double>(*before)) + " before decoding)");
  return 0;
}

// A survey of a few MiB in the temporary folder; removed at exit.
std::optional<std::string> MakeSmokeSurvey() {
  std::error_code error;
  const auto path = std::filesystem::temp_directory_path(error) /
                    ("xse_bench_smoke_" + std::to_string(platform::CurrentProcessId()) + ".xse");
  if (error) return std::nullopt;
  std::FILE* out = platform::OpenStdioFile(platform::Utf8FromPath(path), "wb");
  if (out == nullptr) return std::nullopt;
  xsetool::SurveyOptions options;
  options.sizeBytes = 3u << 20;
  xsetool::SurveyGenerator generator(options);
  bool ok = true;
  for (auto frame = generator.NextFrame(); ok && !frame.empty(); frame = generator.NextFrame())
    ok = std::fwrite(frame.data(), 1, frame.size(), out) == frame.size();
  ok = std::fclose(out) == 0 && ok;
  if (!ok) return std::nullopt;
  return platform::Utf8FromPath(path);
}

bool TakeFlag(std::string_view arg, std::string_view name, std::string& value) {
  if (arg.substr(0, name.size()) != name) return false;
  value = arg.substr(name.size());
  return true;
}

void RegisterBenchmarks(bool smoke) {
  if (!gConfig.zeros.empty()) {
    for (auto* zerosBenchmark : {benchmark::RegisterBenchmark("RawReadZeros", RawReadZeros),
                                 benchmark::RegisterBenchmark("SearchZeros", SearchZeros)})
      zerosBenchmark->Unit(benchmark::kMillisecond)
          ->Iterations(1)
          ->Repetitions(gConfig.repetitions)
          ->MeasureProcessCPUTime();
  }
  const int repetitions = gConfig.repetitions;
  benchmark::RegisterBenchmark("RawRead", RawRead)
      ->Unit(benchmark::kMillisecond)
      ->Iterations(1)
      ->Repetitions(repetitions)
      ->MeasureProcessCPUTime();
  benchmark::RegisterBenchmark("ReadAndTouch", ReadAndTouch)
      ->Unit(benchmark::kMillisecond)
      ->Iterations(1)
      ->Repetitions(repetitions)
      ->MeasureProcessCPUTime();
  benchmark::RegisterBenchmark("DecodeFile", DecodeFileBenchmark)
      ->Unit(benchmark::kMillisecond)
      ->Iterations(1)
      ->Repetitions(repetitions)
      ->MeasureProcessCPUTime();
  for (auto* memoryBenchmark : {benchmark::RegisterBenchmark("CopyInMemory", CopyInMemory),
                                benchmark::RegisterBenchmark("DecodeInMemory", DecodeInMemory)}) {
    memoryBenchmark->Unit(benchmark::kMillisecond)->Repetitions(repetitions);
    if (smoke) memoryBenchmark->Iterations(1);
  }
}

void PrintSummary(const CollectingReporter& reporter, const DecodeResult& steady) {
  const std::string fileSize = Mebibytes(static_cast<double>(gConfig.fileSize));
  const auto decode = reporter.Fastest("DecodeFile");
  const auto raw = reporter.Fastest("RawRead");
  PrintSummaryRow("decode / raw read, " + fileSize + " file (wall time)", Ratio(decode, raw, false),
                  "at most 1.2x");
  PrintSummaryRow("decode / raw read, " + fileSize + " file (CPU time)", Ratio(decode, raw, true),
                  "");
  if (!gConfig.zeros.empty()) {
    PrintSummaryRow("search " + Mebibytes(static_cast<double>(gConfig.zerosSize)) +
                        " of zeros to one frame / raw read (wall)",
                    Ratio(reporter.Fastest("SearchZeros"), reporter.Fastest("RawReadZeros"), false),
                    "at most 3x");
  }
  PrintSummaryRow("read and touch every byte / raw read (CPU time)",
                  Ratio(reporter.Fastest("ReadAndTouch"), raw, true), "the floor of any decoder");
  PrintSummaryRow("decode / read and touch every byte (CPU time)",
                  Ratio(decode, reporter.Fastest("ReadAndTouch"), true), "");
  PrintSummaryRow("in-memory decode / copy, " +
                      Mebibytes(static_cast<double>(gMemory.bytes.size())) + " (CPU time)",
                  Ratio(reporter.Fastest("DecodeInMemory"), reporter.Fastest("CopyInMemory"), true),
                  "");
  char perFrame[32];
  const double allocationsPerFrame =
      steady.steadyFrames != 0
          ? static_cast<double>(steady.allocations) / static_cast<double>(steady.steadyFrames)
          : std::numeric_limits<double>::quiet_NaN();
  std::snprintf(perFrame, sizeof perFrame, "%g", allocationsPerFrame);
  PrintSummaryRow(
      "allocations per frame, steady state (" + std::to_string(steady.steadyFrames) + " frames)",
      perFrame, "0");
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<char*> rest = {argv[0]};
  std::string peakRss, value;
  bool smoke = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (TakeFlag(arg, "--file=", gConfig.file) || TakeFlag(arg, "--peak-rss=", peakRss) ||
        TakeFlag(arg, "--zeros=", gConfig.zeros))
      continue;
    if (TakeFlag(arg, "--memory-mib=", value)) {
      gConfig.memoryBytes = std::stoull(value) << 20;
    } else if (TakeFlag(arg, "--repetitions=", value)) {
      gConfig.repetitions = std::max(1, std::stoi(value));
    } else if (arg == "--smoke") {
      smoke = true;
    } else if (arg == "--help") {
      std::fputs(kUsage, stdout);
      return 0;
    } else {
      rest.push_back(argv[i]);
    }
  }
  if (!peakRss.empty()) return PeakRss(peakRss);

  std::optional<std::string> smokeFile;
  if (smoke) {
    smokeFile = MakeSmokeSurvey();
    if (!smokeFile) {
      std::fputs("xse_bench: cannot write the smoke survey\n", stderr);
      return 1;
    }
    gConfig.file = *smokeFile;
    gConfig.repetitions = 1;
  }
  if (gConfig.file.empty()) {
    std::fputs(kUsage, stderr);
    return 2;
  }

  // Warm the page cache: every run below reads the file from memory.
  std::vector<uint8_t> block(kReadBlock);
  gConfig.fileSize = ReadWholeFile(gConfig.file, block);
  if (gConfig.fileSize == 0 || !LoadFrames(gConfig.file, gConfig.memoryBytes, gMemory)) {
    std::fprintf(stderr, "xse_bench: cannot read frames from %s\n", gConfig.file.c_str());
    return 1;
  }
  const DecodeResult steady = DecodeFile(gConfig.file);
  if (!gConfig.zeros.empty()) {
    std::error_code missing;
    if (!std::filesystem::exists(gConfig.zeros, missing) && !MakeZerosFile(gConfig.zeros)) {
      std::fprintf(stderr, "xse_bench: cannot write %s\n", gConfig.zeros.c_str());
      return 1;
    }
    gConfig.zerosSize = ReadWholeFile(gConfig.zeros, block);
  }

  RegisterBenchmarks(smoke);
  int benchmarkArgc = static_cast<int>(rest.size());
  benchmark::Initialize(&benchmarkArgc, rest.data());
  CollectingReporter reporter;
  reporter.SetOutputStream(&std::cerr);
  reporter.SetErrorStream(&std::cerr);
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();

  PrintSummary(reporter, steady);

  if (smokeFile) {
    std::filesystem::remove(platform::PathFromUtf8(*smokeFile));
    // The smoke run guards the steady state: decoding must not allocate.
    return steady.steadyFrames != 0 && steady.allocations == 0 ? 0 : 1;
  }
  return 0;
}
