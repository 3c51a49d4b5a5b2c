#include <algorithm>
#include <cmath>
#include <string>

#include "tools/plot/chart.h"
#include "tools/plot/surveyplots.h"

namespace xseplot {
namespace {

// The across-track distance of the beam `step` (-1 or +1) away, or, when
// that one has none, the beam mirrored on the other side.
double Neighbour(const quor::MultibeamRec& record, uint32_t beam, int step) {
  const auto at = [&](int64_t index) -> std::optional<double> {
    if (index < 0 || index >= record.beamCount) return std::nullopt;
    const double value = record.acrossTrack[static_cast<size_t>(index)];
    if (!std::isfinite(value)) return std::nullopt;
    return value;
  };
  const double own = record.acrossTrack[beam];
  if (const auto next = at(int64_t{beam} + step)) return *next;
  if (const auto other = at(int64_t{beam} - step)) return 2 * own - *other;
  return own;
}

}  // namespace

AveragedPlot::AveragedPlot(const SurveyExtent& extent, int width, int height)
    : extent_(extent),
      width_(std::clamp(width, kMinPlotSize, kMaxPlotSize)),
      height_(std::clamp(height, kMinPlotSize, kMaxPlotSize)) {}

void AveragedPlot::LayOut(const Area& area) {
  area_ = area;
  area_.width = std::max(area_.width, 1);
  area_.height = std::max(area_.height, 1);
  pixels_.Resize(area_);
}

SwathPlot::SwathPlot(const SurveyExtent& extent, int width, int height)
    : AveragedPlot(extent, width, height) {
  if (!extent.across.empty()) {
    top_ = extent.across.min;
    bottom_ = std::max(extent.across.max, top_ + 1);
  } else {
    bottom_ = std::max<double>(extent.maxBeams, 2);
  }
  if (!extent.depth.empty()) {
    shallow_ = extent.depth.min;
    deep_ = extent.depth.max;
    if (deep_ - shallow_ < 1e-3) {
      shallow_ -= 0.5;
      deep_ += 0.5;
    }
  }
  const int scale = TextScale(width_);
  const int left = LeftMargin(top_, bottom_, scale);
  const int right = ColourBarMargin(shallow_, deep_, scale);
  LayOut({left, TopMargin(scale), width_ - left - right,
          height_ - TopMargin(scale) - BottomMargin(scale)});
}

void SwathPlot::RowSpan(const quor::MultibeamRec& record, uint32_t beam, int& first,
                        int& end) const {
  if (extent_.across.empty() || !HasAcrossTrack(record)) {
    Span(beam, extent_.maxBeams, area_.height, first, end);
    return;
  }
  const double own = record.acrossTrack[beam];
  // The beam reaches halfway to its neighbours, so the rows close up.
  const double a = (own + Neighbour(record, beam, -1)) / 2;
  const double b = (own + Neighbour(record, beam, 1)) / 2;
  const double from = ToPixels(std::min(a, b), top_, bottom_, area_.height);
  const double to = ToPixels(std::max(a, b), top_, bottom_, area_.height);
  first = std::clamp(static_cast<int>(std::lround(from)), 0, area_.height - 1);
  end = std::clamp(static_cast<int>(std::lround(to)), first + 1, area_.height);
}

void SwathPlot::HandleMultibeam(const quor::MultibeamRec& record) {
  if (!HasDepths(record) || extent_.maxBeams == 0) return;
  int firstColumn = 0, endColumn = 0;
  Span(ping_++, extent_.pings, area_.width, firstColumn, endColumn);
  for (uint32_t beam = 0; beam < record.beamCount; ++beam) {
    const float depth = record.depth[beam];
    if (!std::isfinite(depth)) continue;
    if (HasAcrossTrack(record) && !std::isfinite(record.acrossTrack[beam])) continue;
    int firstRow = 0, endRow = 0;
    RowSpan(record, beam, firstRow, endRow);
    pixels_.Add(firstRow, endRow, firstColumn, endColumn, depth);
  }
}

Raster SwathPlot::Render() const {
  const int scale = TextScale(width_);
  Raster picture =
      Paint([this](double depth) { return DepthColour((depth - shallow_) / (deep_ - shallow_)); });
  DrawTitle(picture, "swath depth, " + std::to_string(extent_.pings) + " pings", scale);
  if (extent_.depth.empty()) {
    picture.Text(area_.x + 8, area_.y + 8, "no depths", kBlack, scale);
    return picture;
  }
  const bool metres = !extent_.across.empty();
  DrawYAxis(picture, area_, top_, bottom_, metres ? "across-track (m), port -" : "beam", scale);
  DrawXAxis(picture, area_, 1, static_cast<double>(std::max<uint64_t>(extent_.pings, 1)), "ping",
            scale);
  const Area bar = {area_.x + area_.width + 12, area_.y, 16, area_.height};
  DrawColourBar(picture, bar, shallow_, deep_, DepthColour, "depth (m)", scale);
  return picture;
}

}  // namespace xseplot
