#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include "tools/plot/chart.h"
#include "tools/plot/surveyplots.h"

namespace xseplot {
namespace {

// "hh:mm:ss" of the day, UTC.
std::string ClockTime(double seconds) {
  const auto day = static_cast<long long>(std::floor(seconds)) % 86400;
  char text[16];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld", day / 3600, day / 60 % 60, day % 60);
  return text;
}

}  // namespace

WaterfallPlot::WaterfallPlot(const SurveyExtent& extent, int width, int height)
    : AveragedPlot(extent, width, height) {
  if (!extent.pingTime.empty()) seconds_ = extent.pingTime.max - extent.pingTime.min;
  // Linear in the amplitude, which the recorded gains have already levelled
  // across the range; the brightest half percent saturates.
  white_ = std::exp2(extent.amplitudes.Log2Quantile(0.995));
  const int scale = TextScale(width_);
  const int left = LeftMargin(0, seconds_, scale);
  const int right = ColourBarMargin(0, white_, scale);
  LayOut({left, TopMargin(scale), width_ - left - right,
          height_ - TopMargin(scale) - BottomMargin(scale)});
}

void WaterfallPlot::ColumnSpan(const quor::SidescanRec& record, uint32_t sample, int& first,
                               int& end) const {
  const double metres = MetresPerSample(record);
  if (metres == 0 || extent_.maxRange == 0) {
    // Pings of fewer samples are centred: both sides meet at the nadir.
    const uint32_t offset =
        (extent_.maxSamples - std::min(record.sampleCount, extent_.maxSamples)) / 2;
    Span(offset + sample, extent_.maxSamples, area_.width, first, end);
    return;
  }
  const double from = (sample - record.sampleCount / 2.0) * metres;
  const double range = extent_.maxRange;
  first = std::clamp(static_cast<int>(std::lround(ToPixels(from, -range, range, area_.width))), 0,
                     area_.width - 1);
  end =
      std::clamp(static_cast<int>(std::lround(ToPixels(from + metres, -range, range, area_.width))),
                 first + 1, area_.width);
}

void WaterfallPlot::HandleSidescan(const quor::SidescanRec& record) {
  if (!HasSamples(record) || extent_.maxSamples == 0) return;
  int firstRow = 0, endRow = 0;
  Span(ping_++, extent_.sidescanPings, area_.height, firstRow, endRow);
  if (seconds_ > 0) {
    // Down the time axis, each ping reaches to where the next one would
    // start at the mean ping interval. Rounding both ends (not the start plus
    // an even share) leaves no empty row between pings.
    const double since = Seconds(record) - extent_.pingTime.min;
    const double interval =
        extent_.sidescanPings > 1 ? seconds_ / static_cast<double>(extent_.sidescanPings - 1) : 0;
    firstRow = std::clamp(static_cast<int>(std::lround(ToPixels(since, 0, seconds_, area_.height))),
                          0, area_.height - 1);
    const double next = ToPixels(since + interval, 0, seconds_, area_.height);
    endRow = std::clamp(static_cast<int>(std::lround(next)), firstRow + 1, area_.height);
  }
  for (uint32_t i = 0; i < record.sampleCount; ++i) {
    const float amplitude = record.samples[i];
    if (!std::isfinite(amplitude)) continue;
    int firstColumn = 0, endColumn = 0;
    ColumnSpan(record, i, firstColumn, endColumn);
    pixels_.Add(firstRow, endRow, firstColumn, endColumn, amplitude);
  }
}

Raster WaterfallPlot::Render() const {
  const int scale = TextScale(width_);
  Raster picture = Paint([this](double amplitude) { return Grey(amplitude / white_); });
  std::string title = "sidescan, " + std::to_string(extent_.sidescanPings) + " pings";
  if (!extent_.pingTime.empty()) title += " from " + ClockTime(extent_.pingTime.min) + " UTC";
  DrawTitle(picture, title, scale);
  if (extent_.sidescanPings == 0) {
    picture.Text(area_.x + 8, area_.y + 8, "no sidescan", kBlack, scale);
    return picture;
  }
  DrawYAxis(picture, area_, 0, seconds_, "time (s)", scale);
  if (extent_.maxRange > 0) {
    DrawXAxis(picture, area_, -extent_.maxRange, extent_.maxRange, "slant range (m), port -",
              scale);
  } else {
    DrawXAxis(picture, area_, 1, extent_.maxSamples, "sample, port to starboard", scale);
  }
  const Area bar = {area_.x + area_.width + 12, area_.y, 16, area_.height};
  DrawColourBar(picture, bar, 0, white_, Grey, "amplitude", scale);
  return picture;
}

}  // namespace xseplot
