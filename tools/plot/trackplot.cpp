#include <algorithm>
#include <cmath>
#include <string>

#include "tools/plot/surveyplots.h"

namespace xseplot {

namespace {

constexpr Rgb kFrame = {200, 200, 200};
constexpr Rgb kTrack = {24, 64, 128};
constexpr Rgb kPing = {245, 150, 30};
constexpr Rgb kStart = {30, 160, 60};
constexpr Rgb kEnd = {200, 30, 30};
constexpr Rgb kOn = {1, 1, 1};
constexpr int kInset = 6;

}  // namespace

TrackPlot::TrackPlot(const SurveyExtent& extent, int width, int height)
    : extent_(extent),
      width_(std::clamp(width, kMinPlotSize, kMaxPlotSize)),
      height_(std::clamp(height, kMinPlotSize, kMaxPlotSize)),
      track_(width_, height_, {}),
      marks_(width_, height_, {}) {
  const int scale = TextScale(width_);
  const int top = 12 + Raster::TextHeight(scale), bottom = 24 + 2 * Raster::TextHeight(scale);
  // The frame keeps kInset pixels clear around the track, so the start and
  // end marks are never cut.
  area_ = {16 + kInset, top + kInset, width_ - 32 - 2 * kInset,
           height_ - top - bottom - 2 * kInset};
  if (!extent.east.empty()) {
    const double spanEast = extent.east.max - extent.east.min;
    const double spanNorth = extent.north.max - extent.north.min;
    metresPerPixel_ =
        std::max({spanEast / (area_.width - 1), spanNorth / (area_.height - 1), 0.01});
    midEast_ = (extent.east.min + extent.east.max) / 2;
    midNorth_ = (extent.north.min + extent.north.max) / 2;
  }
}

void TrackPlot::ToPixel(double east, double north, int& x, int& y) const {
  x = area_.x + (area_.width - 1) / 2 +
      static_cast<int>(std::lround((east - midEast_) / metresPerPixel_));
  y = area_.y + (area_.height - 1) / 2 -
      static_cast<int>(std::lround((north - midNorth_) / metresPerPixel_));
}

void TrackPlot::HandlePosition(const quor::NavigationRec& record) {
  double east = 0, north = 0;
  if (!projection_.Project(record, east, north)) return;
  int x = 0, y = 0;
  ToPixel(east, north, x, y);
  if (!haveFix_) {
    haveFix_ = true;
    firstX_ = x;
    firstY_ = y;
    track_.Set(x, y, kOn);
  } else if (x != lastX_ || y != lastY_) {
    track_.Line(lastX_, lastY_, x, y, kOn);
  }
  lastX_ = x;
  lastY_ = y;
}

void TrackPlot::HandleMultibeam(const quor::MultibeamRec& /*record*/) {
  if (!haveFix_ || (lastX_ == lastMarkX_ && lastY_ == lastMarkY_)) return;
  marks_.Disc(lastX_, lastY_, 1, kOn);
  lastMarkX_ = lastX_;
  lastMarkY_ = lastY_;
}

Raster TrackPlot::Render() const {
  Raster picture(width_, height_, kWhite);
  const int scale = TextScale(width_);
  picture.StrokeRect(area_.x - kInset, area_.y - kInset, area_.width + 2 * kInset,
                     area_.height + 2 * kInset, kFrame);
  picture.Text(area_.x, 6,
               "track: " + std::to_string(extent_.fixes) + " fixes, " +
                   std::to_string(extent_.pings) + " pings",
               kBlack, scale);
  if (!haveFix_) {
    const std::string text = "no positions";
    picture.Text(area_.x + (area_.width - Raster::TextWidth(text, scale)) / 2,
                 area_.y + area_.height / 2, text, kBlack, scale);
    return picture;
  }
  // Ping marks beneath the track, so the line stays visible through them.
  for (int y = 0; y < height_; ++y) {
    for (int x = 0; x < width_; ++x) {
      if (track_.At(x, y).r != 0) {
        picture.Set(x, y, kTrack);
      } else if (marks_.At(x, y).r != 0) {
        picture.Set(x, y, kPing);
      }
    }
  }
  picture.Disc(firstX_, firstY_, 4, kStart);
  picture.Disc(lastX_, lastY_, 4, kEnd);

  // Scale bar: a round length near a fifth of the plot's width.
  const double length = RoundLength(area_.width * metresPerPixel_ / 5);
  const int barPixels = std::max(1, static_cast<int>(std::lround(length / metresPerPixel_)));
  const int barX = area_.x, barY = height_ - 10 - 4;
  picture.FillRect(barX, barY, barPixels, 4, kBlack);
  picture.FillRect(barX, barY - 4, 1, 8, kBlack);
  picture.FillRect(barX + barPixels - 1, barY - 4, 1, 8, kBlack);
  const int decimals = length >= 1 ? 0 : static_cast<int>(std::ceil(-std::log10(length)));
  const std::string label = length >= 1000 ? FormatNumber(length / 1000, 0) + " km"
                                           : FormatNumber(length, decimals) + " m";
  picture.Text(barX + barPixels + 8, barY - Raster::TextHeight(scale) / 2 + 2, label, kBlack,
               scale);

  // North arrow in the top right corner.
  const int arrowX = area_.x + area_.width - 12 - 2 * scale;
  const int tipY = area_.y + 10 + Raster::TextHeight(scale);
  picture.Line(arrowX, tipY, arrowX, tipY + 24, kBlack);
  picture.Line(arrowX, tipY, arrowX - 5, tipY + 8, kBlack);
  picture.Line(arrowX, tipY, arrowX + 5, tipY + 8, kBlack);
  picture.Text(arrowX - Raster::TextWidth("N", scale) / 2, area_.y + 4, "N", kBlack, scale);
  return picture;
}

}  // namespace xseplot
