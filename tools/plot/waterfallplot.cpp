#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "tools/plot/colormap.h"
#include "tools/plot/surveyplots.h"

namespace xseplot {

WaterfallPlot::WaterfallPlot(const SurveyExtent& extent, int width, int height)
    : extent_(extent),
      width_(std::clamp(width, kMinPlotSize, kMaxPlotSize)),
      height_(std::clamp(height, kMinPlotSize, kMaxPlotSize)) {
  const int text = Raster::TextHeight(TextScale(width_));
  area_ = {16, 2 * (10 + text), width_ - 32, height_ - 2 * (10 + text) - 16};
  pixels_.Resize(area_);
}

void WaterfallPlot::HandleSidescan(const quor::SidescanRec& record) {
  if (!HasSamples(record) || extent_.maxSamples == 0) return;
  int firstRow = 0, endRow = 0;
  Span(ping_++, extent_.sidescanPings, area_.height, firstRow, endRow);
  // Pings of fewer samples are centred: both sides meet at the nadir.
  const uint32_t offset =
      (extent_.maxSamples - std::min(record.sampleCount, extent_.maxSamples)) / 2;
  for (uint32_t i = 0; i < record.sampleCount; ++i) {
    const float amplitude = record.samples[i];
    if (!std::isfinite(amplitude)) continue;
    int firstColumn = 0, endColumn = 0;
    Span(offset + i, extent_.maxSamples, area_.width, firstColumn, endColumn);
    pixels_.Add(firstRow, endRow, firstColumn, endColumn, amplitude);
  }
}

Raster WaterfallPlot::Render() const {
  Raster picture(width_, height_, kWhite);
  const int scale = TextScale(width_);
  const int text = Raster::TextHeight(scale);
  picture.Text(area_.x, 6, "sidescan: " + std::to_string(extent_.sidescanPings) + " pings", kBlack,
               scale);
  picture.Text(area_.x, area_.y - text - 4, "port", kBlack, scale);
  picture.Text(area_.x + area_.width - Raster::TextWidth("stbd", scale), area_.y - text - 4, "stbd",
               kBlack, scale);
  picture.StrokeRect(area_.x - 1, area_.y - 1, area_.width + 2, area_.height + 2, kBlack);
  // Linear in the amplitude, which the recorded gains have already levelled
  // across the range; the brightest half percent saturates.
  const double white = std::exp2(extent_.amplitudes.Log2Quantile(0.995));
  for (int row = 0; row < area_.height; ++row) {
    for (int column = 0; column < area_.width; ++column) {
      const std::optional<double> mean = pixels_.Mean(row, column);
      const Rgb colour = mean ? Grey(*mean / white) : kNoData;
      picture.Set(area_.x + column, area_.y + row, colour);
    }
  }
  return picture;
}

}  // namespace xseplot
