// xse soundings: every beam of every ping as a point on the earth, as CSV
// or as "lon lat depth" lines for GIS tools.
#include <charconv>
#include <cstdio>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/surveyreaderlib/soundings/soundings.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/headoption.h"
#include "tools/xse/utctime.h"

namespace xsetool {
namespace {

constexpr const char* kSoundingsUsage =
    "usage: xse soundings [--format csv|xyz] [--head all|first|second] FILE...\n";

constexpr const char* kSoundingsHelp =
    "Georeferences every beam of every ping: its across- and along-track\n"
    "distances turned by the heading and added to the position at the ping's\n"
    "time, both interpolated between the navigation records around the ping.\n"
    "Writes one row per sounding on stdout; on stderr, per file, how many\n"
    "soundings were written and what was left out (pings outside the\n"
    "navigation, beams of quality 0 or without depth or distances, positions\n"
    "not in WGS84).\n"
    "\n"
    "  --format FORMAT  csv (default): time,pingNumber,beam,latitude,longitude,\n"
    "                   depth,quality (degrees, WGS84); xyz: lon lat depth\n"
    "  --head MODE      bathymetry head selection: all (default), first, second\n"
    "  --help           show this help\n";

constexpr size_t kFlushThreshold = 1 << 16;

class SoundingWriter final : public soundings::ISoundingSink {
 public:
  SoundingWriter(std::FILE* out, bool xyz) : out_(out), xyz_(xyz) {
    if (!xyz_) text_ = "time,pingNumber,beam,latitude,longitude,depth,quality\n";
  }

  void HandleSounding(const soundings::Sounding& s) override {
    if (xyz_) {
      Append("%.9f %.9f ", s.longitude, s.latitude);
      AppendShortest(s.depth);
    } else {
      text_ += FormatUtc(s.time);
      Append(",%d,%u,%.9f,%.9f,", s.pingNumber, s.beam, s.latitude, s.longitude);
      AppendShortest(s.depth);
      Append(",%d", s.quality);
    }
    text_ += '\n';
    if (text_.size() >= kFlushThreshold) Flush();
  }

  // False when any write so far failed.
  bool Flush() {
    if (!text_.empty() && std::fwrite(text_.data(), 1, text_.size(), out_) != text_.size())
      failed_ = true;
    text_.clear();
    if (std::fflush(out_) != 0) failed_ = true;
    return !failed_;
  }

 private:
  template <typename... Args>
  void Append(const char* format, Args... args) {
    char line[128];
    const int length = std::snprintf(line, sizeof line, format, args...);
    if (length > 0) text_.append(line, static_cast<size_t>(length));
  }
  void AppendShortest(float value) {
    char digits[32];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    text_.append(digits, result.ptr);
  }

  std::FILE* out_;
  bool xyz_;
  std::string text_;
  bool failed_ = false;
};

}  // namespace

int RunSoundingsCommand(std::span<const std::string_view> args) {
  bool xyz = false;
  int32_t mode = ElacReader::kAllBeams;
  CommandLine line("soundings", kSoundingsUsage, kSoundingsHelp);
  line.Value("--format", [&xyz](std::string_view value) {
    xyz = value == "xyz";
    return value == "xyz" || value == "csv";
  });
  line.Value("--head", [&mode](std::string_view value) { return ParseHeadMode(value, mode); });
  if (const auto exit = line.Parse(args)) return *exit;
  if (line.operands().empty()) return line.UsageError("no input file");

  SoundingWriter writer(stdout, xyz);
  soundings::SoundingTarget target(writer);
  int status = kExitOk;
  for (const std::string& file : line.operands()) {
    ElacFile source(&target);
    source.SetMode(mode);
    if (!source.Open(file.c_str())) {
      writer.Flush();
      std::fprintf(stderr, "xse: cannot open %s: %s\n", file.c_str(),
                   source.IsOpen() ? "file is empty" : source.openError().c_str());
      status = kExitFailure;
      continue;
    }
    const soundings::SoundingCounts before = target.counts();
    int32_t processed = 0;
    while (source.receiveData(processed, 0)) {
    }
    target.Finish();
    writer.Flush();
    const soundings::SoundingCounts& after = target.counts();
    std::fprintf(
        stderr,
        "%s: %llu soundings from %llu pings; left out: %llu pings before and %llu after "
        "the navigation, %llu beams, %llu projected fixes\n",
        file.c_str(), static_cast<unsigned long long>(after.soundings - before.soundings),
        static_cast<unsigned long long>(after.pingsGeoreferenced - before.pingsGeoreferenced),
        static_cast<unsigned long long>(after.pingsBeforeNavigation - before.pingsBeforeNavigation),
        static_cast<unsigned long long>(after.pingsAfterNavigation - before.pingsAfterNavigation),
        static_cast<unsigned long long>(after.beamsLeftOut - before.beamsLeftOut),
        static_cast<unsigned long long>(after.projectedFixes - before.projectedFixes));
  }
  if (!writer.Flush()) {
    std::fprintf(stderr, "xse: cannot write to standard output\n");
    return kExitFailure;
  }
  return status;
}

}  // namespace xsetool
