// xse gen: writes a synthetic survey file.
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/errortext.h"
#include "platform/paths.h"
#include "platform/stdiofile.h"
#include "tools/generator/surveygenerator.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"

namespace xsetool {
namespace {

constexpr const char* kGenUsage =
    "usage: xse gen [--duration SECONDS] [--size BYTES] [--seed N] [--beams N]\n"
    "               [--samples N] [--nav-rate HZ] [--ping-rate HZ]\n"
    "               [--byte-order big|little|mixed] OUT.xse\n";

constexpr const char* kGenHelp =
    "Writes a synthetic but realistic survey: a parameter frame (draft,\n"
    "installations, device list with mounting and status), then navigation\n"
    "frames, two-head bathymetry pings and sidescan pings in time order. A\n"
    "vessel runs survey lines over a smooth seafloor; depths carry noise.\n"
    "The same options give the same bytes on the same system. OUT.xse '-'\n"
    "writes the survey to stdout (what was made is then told on stderr).\n"
    "\n"
    "  --duration SECONDS  survey time to cover (default 60 unless --size is given)\n"
    "  --size BYTES        stop once the file reaches BYTES; units K, M, G, T\n"
    "                      (binary) may follow, as in 1G\n"
    "  --seed N            seed of the survey (default 1)\n"
    "  --beams N           beams per head, 1 to 8192 (default 128)\n"
    "  --samples N         sidescan samples per side, 1 to 65536 (default 1000)\n"
    "  --nav-rate HZ       navigation frames per second, 1 to 100 (default 20)\n"
    "  --ping-rate HZ      bathymetry and sidescan pings per second, 1 to 50 (default 10)\n"
    "  --byte-order ORDER  big (default), little, or mixed (chosen per frame)\n"
    "  --help              show this help\n";

struct FileCloser {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

// Writes the frames to `raw`, then closes it, or only flushes it when it
// is standard output.
bool WriteFrames(SurveyGenerator& generator, std::FILE* raw, std::string& error) {
  const bool standardOutput = raw == stdout;
  std::unique_ptr<std::FILE, FileCloser> file(standardOutput ? nullptr : raw);
  std::setvbuf(raw, nullptr, _IOFBF, 1 << 20);
  for (auto frame = generator.NextFrame(); !frame.empty(); frame = generator.NextFrame()) {
    if (std::fwrite(frame.data(), 1, frame.size(), raw) != frame.size()) {
      error = platform::ErrorText(errno);
      return false;
    }
  }
  if (standardOutput ? std::fflush(raw) != 0 : std::fclose(file.release()) != 0) {
    error = platform::ErrorText(errno);
    return false;
  }
  return true;
}

// Writes every frame of the survey to `path`; on failure says why. A file
// left half written is removed; one that could not be opened is left alone.
bool WriteSurvey(SurveyGenerator& generator, const std::string& path, std::string& error) {
  if (path == "-") return WriteFrames(generator, stdout, error);
  std::FILE* raw = platform::OpenStdioFile(path, "wb");
  if (raw == nullptr) {
    error = platform::ErrorText(errno);
    return false;
  }
  if (!WriteFrames(generator, raw, error)) {
    std::error_code ignored;
    std::filesystem::remove(platform::PathFromUtf8(path), ignored);
    return false;
  }
  return true;
}

}  // namespace

int RunGenCommand(std::span<const std::string_view> args) {
  SurveyOptions options;
  CommandLine line("gen", kGenUsage, kGenHelp);
  line.Value("--duration", [&](std::string_view value) {
    options.durationSeconds = ParsePositive(value);
    return options.durationSeconds.has_value();
  });
  line.Value("--size", [&](std::string_view value) {
    options.sizeBytes = ParseByteSize(value);
    return options.sizeBytes.value_or(0) != 0;
  });
  line.Value("--seed", [&](std::string_view value) {
    const auto seed = ParseUnsigned(value);
    options.seed = seed.value_or(0);
    return seed.has_value();
  });
  const auto countIn = [](uint32_t& target, uint64_t limit) {
    return [&target, limit](std::string_view value) {
      const auto count = ParseUnsigned(value);
      if (!count || *count == 0 || *count > limit) return false;
      target = static_cast<uint32_t>(*count);
      return true;
    };
  };
  line.Value("--beams", countIn(options.beamsPerHead, 8192));
  line.Value("--samples", countIn(options.sidescanSamplesPerSide, 65536));
  const auto rateIn = [](double& target, double limit) {
    return [&target, limit](std::string_view value) {
      const auto rate = ParsePositive(value);
      if (!rate || *rate < 1 || *rate > limit) return false;
      target = *rate;
      return true;
    };
  };
  line.Value("--nav-rate", rateIn(options.navigationRateHz, 100));
  line.Value("--ping-rate", rateIn(options.pingRateHz, 50));
  line.Value("--byte-order", [&](std::string_view value) {
    if (value == "big") {
      options.byteOrder = ByteOrderChoice::kBig;
    } else if (value == "little") {
      options.byteOrder = ByteOrderChoice::kLittle;
    } else if (value == "mixed") {
      options.byteOrder = ByteOrderChoice::kMixed;
    } else {
      return false;
    }
    return true;
  });
  if (const auto exit = line.Parse(args)) return *exit;
  if (line.operands().empty()) return line.UsageError("no output file");
  if (line.operands().size() > 1) return line.UsageError("more than one output file");
  const std::string& out = line.operands().front();

  SurveyGenerator generator(options);
  std::string error;
  if (!WriteSurvey(generator, out, error)) {
    std::fprintf(stderr, "xse: cannot write %s: %s\n", out.c_str(), error.c_str());
    return kExitFailure;
  }
  // With the survey on stdout, what was made is told on stderr.
  std::fprintf(out == "-" ? stderr : stdout, "%s: %llu frames, %llu bytes, %.2f s of survey\n",
               out == "-" ? "standard output" : out.c_str(),
               static_cast<unsigned long long>(generator.framesMade()),
               static_cast<unsigned long long>(generator.bytesMade()),
               generator.lastFrameSeconds());
  return kExitOk;
}

}  // namespace xsetool
