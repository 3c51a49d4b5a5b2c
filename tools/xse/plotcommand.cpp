// xse plot: a picture of a survey (track, swath depths or sidescan) as PNG.
// The file is decoded twice, streaming: first to learn the extent of what
// is drawn, then to draw each record into an image-sized accumulator. So a
// stream (standard input, a FIFO) is refused: it could be read only once.
#include <cstdio>
#include <optional>
#include <string>

#include "platform/terminal.h"
#include "tools/plot/pngfile.h"
#include "tools/plot/surveyextent.h"
#include "tools/plot/surveyplots.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/headoption.h"
#include "tools/xse/inputsource.h"
#include "tools/xse/progressbar.h"

namespace xsetool {
namespace {

constexpr const char* kPlotUsage =
    "usage: xse plot --kind track|swath|waterfall [--head all|first|second]\n"
    "                [--width N] [--height N] FILE -o OUT.png\n";

constexpr const char* kPlotHelp =
    "Draws a survey into a PNG:\n"
    "  track      the vessel's positions seen from above, north up, in metres\n"
    "             from the first fix, each bathymetry ping marked, with a scale\n"
    "  swath      depth along the track: a column per ping, rows by across-track\n"
    "             distance in metres (port at the top), deeper darker\n"
    "  waterfall  sidescan: a row per ping (first at the top), port to\n"
    "             starboard, grey by amplitude as recorded (gains applied)\n"
    "A large survey is averaged down to the picture's size as it streams. The\n"
    "FILE is read twice (the extent, then the picture): a stream is refused.\n"
    "\n"
    "  --kind KIND     track, swath or waterfall\n"
    "  --head MODE     bathymetry head selection: all (default), first, second\n"
    "  --width N       picture width in pixels (default 800, 100 to 8000)\n"
    "  --height N      picture height in pixels (default 600, 100 to 8000)\n"
    "  -o, --output F  the PNG to write\n"
    "  --help          show this help\n";

enum class PlotKind { kTrack, kSwath, kWaterfall };

// Decodes `path` into `target`, with a progress bar labelled `pass` for a
// person watching stderr. False, with `error` set, when the file cannot be
// opened, is empty or holds no XSE data.
bool Decode(const std::string& path, int32_t mode, quor::ISurveyTarget& target, const char* pass,
            std::string& error) {
  elac::ReadStatistics frames;
  InputSource source(&target, mode, &frames);
  if (!source.Open(path)) {
    error = "cannot open " + path + ": " + source.OpenFailure();
    return false;
  }
  ProgressBar progress(stderr, platform::IsTerminal(platform::StandardStream::kError),
                       std::string(pass) + " " + path, source.size());
  uint64_t done = 0;
  int32_t processed = 0;
  while (source.Next(processed)) {
    if (processed > 0) done += static_cast<uint64_t>(processed);
    progress.Update(done);
  }
  const std::string problem = InputProblem(source, frames);
  if (problem.empty()) return true;
  error = path + ": " + problem;
  return false;
}

template <typename Plot>
xseplot::Raster Draw(const std::string& path, int32_t mode, const xseplot::SurveyExtent& extent,
                     int width, int height, std::string& error, bool& ok) {
  Plot plot(extent, width, height);
  ok = Decode(path, mode, plot, "drawing", error);
  return plot.Render();
}

}  // namespace

int RunPlotCommand(std::span<const std::string_view> args) {
  std::optional<PlotKind> kind;
  int32_t mode = ElacReader::kAllBeams;
  int width = 800, height = 600;
  std::optional<std::string> output;
  CommandLine line("plot", kPlotUsage, kPlotHelp);
  line.Value("--kind", [&](std::string_view value) {
    if (value == "track") kind = PlotKind::kTrack;
    if (value == "swath") kind = PlotKind::kSwath;
    if (value == "waterfall") kind = PlotKind::kWaterfall;
    return value == "track" || value == "swath" || value == "waterfall";
  });
  line.Value("--head", [&mode](std::string_view value) { return ParseHeadMode(value, mode); });
  const auto pixelsInto = [](int& target) {
    return [&target](std::string_view value) {
      const auto pixels = ParseUnsigned(value);
      if (!pixels || *pixels < xseplot::kMinPlotSize || *pixels > xseplot::kMaxPlotSize)
        return false;
      target = static_cast<int>(*pixels);
      return true;
    };
  };
  line.Value("--width", pixelsInto(width));
  line.Value("--height", pixelsInto(height));
  const auto outputInto = [&](std::string_view value) {
    output = std::string(value);
    return !value.empty();
  };
  line.Value("-o", outputInto);
  line.Value("--output", outputInto);
  if (const auto exit = line.Parse(args)) return *exit;
  if (!kind) return line.UsageError("--kind is needed");
  if (line.operands().size() != 1)
    return line.UsageError(line.operands().empty() ? "no input file" : "one input file only");
  if (!output) return line.UsageError("-o OUT.png is needed");
  const std::string* input = &line.operands().front();
  // The extent is measured before anything is drawn.
  if (const std::string refused = StreamRefusal("plot", *input); !refused.empty()) {
    std::fprintf(stderr, "xse: %s\n", refused.c_str());
    return kExitFailure;
  }

  std::string error;
  xseplot::SurveyExtent extent;
  if (!Decode(*input, mode, extent, "measuring", error)) {
    std::fprintf(stderr, "xse: %s\n", error.c_str());
    return kExitFailure;
  }
  bool ok = false;
  const xseplot::Raster picture =
      *kind == PlotKind::kTrack
          ? Draw<xseplot::TrackPlot>(*input, mode, extent, width, height, error, ok)
      : *kind == PlotKind::kSwath
          ? Draw<xseplot::SwathPlot>(*input, mode, extent, width, height, error, ok)
          : Draw<xseplot::WaterfallPlot>(*input, mode, extent, width, height, error, ok);
  if (!ok) {
    std::fprintf(stderr, "xse: %s\n", error.c_str());
    return kExitFailure;
  }
  if (!xseplot::WritePngFile(*output, picture, error)) {
    std::fprintf(stderr, "xse: cannot write %s: %s\n", output->c_str(), error.c_str());
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace xsetool
