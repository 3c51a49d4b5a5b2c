#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "tools/plot/colormap.h"
#include "tools/plot/surveyplots.h"

namespace xseplot {

SwathPlot::SwathPlot(const SurveyExtent& extent, int width, int height)
    : extent_(extent),
      width_(std::clamp(width, kMinPlotSize, kMaxPlotSize)),
      height_(std::clamp(height, kMinPlotSize, kMaxPlotSize)) {
  const int scale = TextScale(width_);
  const int text = Raster::TextHeight(scale);
  const int left = 12 + Raster::TextWidth("stbd", scale);
  const int legend = 40 + Raster::TextWidth("0000.0 m", scale);
  area_ = {left, 12 + text, width_ - left - legend, height_ - 2 * (12 + text)};
  pixels_.Resize(area_);
}

void SwathPlot::HandleMultibeam(const quor::MultibeamRec& record) {
  if (!HasDepths(record) || extent_.maxBeams == 0) return;
  int firstColumn = 0, endColumn = 0;
  Span(ping_++, extent_.pings, area_.width, firstColumn, endColumn);
  for (uint32_t beam = 0; beam < record.beamCount; ++beam) {
    const float depth = record.depth[beam];
    if (!std::isfinite(depth)) continue;
    int firstRow = 0, endRow = 0;
    Span(beam, extent_.maxBeams, area_.height, firstRow, endRow);
    pixels_.Add(firstRow, endRow, firstColumn, endColumn, depth);
  }
}

Raster SwathPlot::Render() const {
  Raster picture(width_, height_, kWhite);
  const int scale = TextScale(width_);
  const int text = Raster::TextHeight(scale);
  picture.Text(area_.x, 6,
               "swath depth: " + std::to_string(extent_.pings) + " pings, " +
                   std::to_string(extent_.maxBeams) + " beams",
               kBlack, scale);
  picture.StrokeRect(area_.x - 1, area_.y - 1, area_.width + 2, area_.height + 2, kBlack);
  if (extent_.depth.empty()) {
    picture.FillRect(area_.x, area_.y, area_.width, area_.height, kNoData);
    picture.Text(area_.x + 8, area_.y + 8, "no depths", kBlack, scale);
    return picture;
  }
  double shallow = extent_.depth.min, deep = extent_.depth.max;
  if (deep - shallow < 1e-3) {
    shallow -= 0.5;
    deep += 0.5;
  }
  for (int row = 0; row < area_.height; ++row) {
    for (int column = 0; column < area_.width; ++column) {
      const std::optional<double> mean = pixels_.Mean(row, column);
      const Rgb colour = mean ? DepthColour((*mean - shallow) / (deep - shallow)) : kNoData;
      picture.Set(area_.x + column, area_.y + row, colour);
    }
  }
  picture.Text(4, area_.y, "port", kBlack, scale);
  picture.Text(4, area_.y + area_.height - text, "stbd", kBlack, scale);
  const int bottomText = area_.y + area_.height + 6;
  picture.Text(area_.x, bottomText, "ping 1", kBlack, scale);
  const std::string last = std::to_string(extent_.pings);
  picture.Text(area_.x + area_.width - Raster::TextWidth(last, scale), bottomText, last, kBlack,
               scale);

  // Legend: shallow at the top, as the colours run.
  const int barX = area_.x + area_.width + 12, barWidth = 16;
  for (int row = 0; row < area_.height; ++row) {
    picture.FillRect(barX, area_.y + row, barWidth, 1,
                     DepthColour(static_cast<double>(row) / std::max(area_.height - 1, 1)));
  }
  picture.StrokeRect(barX - 1, area_.y - 1, barWidth + 2, area_.height + 2, kBlack);
  const int decimals = deep - shallow < 10 ? 2 : 1;
  const int labelX = barX + barWidth + 6;
  picture.Text(labelX, area_.y, FormatNumber(shallow, decimals) + " m", kBlack, scale);
  picture.Text(labelX, area_.y + (area_.height - text) / 2,
               FormatNumber((shallow + deep) / 2, decimals) + " m", kBlack, scale);
  picture.Text(labelX, area_.y + area_.height - text, FormatNumber(deep, decimals) + " m", kBlack,
               scale);
  return picture;
}

}  // namespace xseplot
