// xse soundings: every beam of every ping as a point on the earth, as CSV
// or as "lon lat depth" lines for GIS tools.
#include <charconv>
#include <cmath>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/headoption.h"
#include "tools/xse/inputsource.h"
#include "tools/xse/utctime.h"
#include "xsereader/soundings.h"

namespace xsetool {
namespace {

constexpr const char* kSoundingsUsage =
    "usage: xse soundings [--format csv|xyz] [--head all|first|second] [--with-file] FILE...\n";

constexpr const char* kSoundingsHelp =
    "Georeferences every beam of every ping: its across- and along-track\n"
    "distances turned by the heading and added to the position at the ping's\n"
    "time, both interpolated between the navigation records around the ping.\n"
    "Writes one row per sounding on stdout; on stderr, per file, how many\n"
    "soundings were written and what was left out (pings outside the\n"
    "navigation, beams of quality 0 or without depth or distances, positions\n"
    "not in WGS84). A FILE of - is standard input, read as a stream, as are\n"
    "a FIFO and a device.\n"
    "\n"
    "  --format FORMAT  csv (default): time,pingNumber,beam,latitude,longitude,\n"
    "                   depth,quality (degrees, WGS84); xyz: lon lat depth\n"
    "  --head MODE      bathymetry head selection: all (default), first, second\n"
    "  --with-file      the file's name as the first column of every row\n"
    "  --help           show this help\n";

// Rows are formatted straight into one buffer and written in large blocks:
// at millions of rows a second, printf and small writes would be the cost.
constexpr size_t kFlushThreshold = size_t{1} << 20;
constexpr size_t kLongestRow = 256;

class SoundingWriter final : public soundings::ISoundingSink {
 public:
  SoundingWriter(std::FILE* out, bool xyz, bool withFile)
      : out_(out), xyz_(xyz), text_(kFlushThreshold + kLongestRow) {
    if (!xyz_) Text(withFile ? "file," : "");
    if (!xyz_) Text("time,pingNumber,beam,latitude,longitude,depth,quality\n");
  }

  // Every row from now on starts with `name` (quoted where CSV needs it).
  void SetFile(std::string_view name) {
    fileCell_.clear();
    const bool quote = !xyz_ && name.find_first_of(",\"\r\n") != std::string_view::npos;
    if (quote) fileCell_ += '"';
    for (const char c : name) {
      if (quote && c == '"') fileCell_ += '"';
      fileCell_ += c;
    }
    if (quote) fileCell_ += '"';
    fileCell_ += xyz_ ? ' ' : ',';
  }

  void HandleSounding(const soundings::Sounding& s) override {
    if (!fileCell_.empty()) Text(fileCell_);
    if (xyz_) {
      Fixed(s.longitude);
      Char(' ');
      Fixed(s.latitude);
      Char(' ');
      Number(s.depth);
    } else {
      if (s.time.tv_sec != lastTime_.tv_sec || s.time.tv_usec != lastTime_.tv_usec) {
        lastTime_ = s.time;
        lastTimeText_ = FormatUtc(s.time);
      }
      Text(lastTimeText_);
      Char(',');
      Number(s.pingNumber);
      Char(',');
      Number(s.beam);
      Char(',');
      Fixed(s.latitude);
      Char(',');
      Fixed(s.longitude);
      Char(',');
      Number(s.depth);
      Char(',');
      Number(s.quality);
    }
    Char('\n');
    if (used_ >= kFlushThreshold) Flush();
  }

  // False when any write so far failed.
  bool Flush() {
    if (used_ != 0 && std::fwrite(text_.data(), 1, used_, out_) != used_) failed_ = true;
    used_ = 0;
    if (std::fflush(out_) != 0) failed_ = true;
    return !failed_;
  }

 private:
  void Char(char c) { text_[used_++] = c; }
  void Text(std::string_view text) {
    if (used_ + text.size() > text_.size()) text_.resize(used_ + text.size() + kLongestRow);
    text.copy(text_.data() + used_, text.size());
    used_ += text.size();
  }
  // Degrees to nine places, a tenth of a millimetre on the ground, in
  // integers: the library's fixed-precision path is most of a row's time.
  void Fixed(double degrees) {
    const double units = std::round(std::fabs(degrees) * 1e9);
    if (!(units < 1e18)) {
      used_ = Written(std::to_chars(Free(), End(), degrees, std::chars_format::fixed, 9));
      return;
    }
    const auto whole = static_cast<uint64_t>(units);
    char* at = Free();
    if (std::signbit(degrees)) *at++ = '-';
    at = std::to_chars(at, End(), whole / 1000000000).ptr;
    *at++ = '.';
    uint64_t fraction = whole % 1000000000;
    for (int digit = 8; digit >= 0; --digit, fraction /= 10)
      at[digit] = static_cast<char>('0' + fraction % 10);
    used_ = static_cast<size_t>(at + 9 - text_.data());
  }
  // The shortest text that reads back as the same value.
  template <typename Value>
  void Number(Value value) {
    used_ = Written(std::to_chars(Free(), End(), value));
  }
  char* Free() { return text_.data() + used_; }
  char* End() { return text_.data() + text_.size(); }
  size_t Written(std::to_chars_result result) {
    return static_cast<size_t>(result.ptr - text_.data());
  }

  std::FILE* out_;
  bool xyz_;
  std::vector<char> text_;
  size_t used_ = 0;
  quor::timeval lastTime_{-1, -1};
  std::string lastTimeText_;
  std::string fileCell_;
  bool failed_ = false;
};

}  // namespace

int RunSoundingsCommand(std::span<const std::string_view> args) {
  bool xyz = false;
  int32_t mode = ElacReader::kAllBeams;
  bool withFile = false;
  CommandLine line("soundings", kSoundingsUsage, kSoundingsHelp);
  line.Flag("--with-file", withFile);
  line.Value("--format", [&xyz](std::string_view value) {
    xyz = value == "xyz";
    return value == "xyz" || value == "csv";
  });
  line.Value("--head", [&mode](std::string_view value) { return ParseHeadMode(value, mode); });
  if (const auto exit = line.Parse(args)) return *exit;
  if (line.operands().empty()) return line.UsageError("no input file");

  SoundingWriter writer(stdout, xyz, withFile);
  soundings::SoundingTarget target(writer);
  int status = kExitOk;
  for (const std::string& file : line.operands()) {
    if (withFile) writer.SetFile(file);
    elac::ReadStatistics frames;
    InputSource source(&target, mode, &frames);
    if (!source.Open(file)) {
      writer.Flush();
      std::fprintf(stderr, "xse: cannot open %s: %s\n", file.c_str(), source.OpenFailure().c_str());
      status = kExitFailure;
      continue;
    }
    const soundings::SoundingCounts before = target.counts();
    int32_t processed = 0;
    while (source.Next(processed)) {
    }
    target.Finish();
    writer.Flush();
    if (const std::string problem = InputProblem(source, frames); !problem.empty()) {
      ReportInputProblem(file, problem);
      status = kExitFailure;
      continue;
    }
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
