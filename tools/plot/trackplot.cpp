#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "tools/plot/bitmapfont.h"
#include "tools/plot/chart.h"
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

std::vector<KeyEntry> Key() {
  return {{KeyEntry::Mark::kDisc, kStart, "start"},
          {KeyEntry::Mark::kDisc, kEnd, "end"},
          {KeyEntry::Mark::kLine, kTrack, "fixes"},
          {KeyEntry::Mark::kDot, kPing, "pings"}};
}

}  // namespace

TrackPlot::TrackPlot(const SurveyExtent& extent, int width, int height)
    : extent_(extent),
      width_(std::clamp(width, kMinPlotSize, kMaxPlotSize)),
      height_(std::clamp(height, kMinPlotSize, kMaxPlotSize)),
      track_(width_, height_, {}),
      marks_(width_, height_, {}) {
  const int scale = TextScale(width_);
  const int left = 8 + Raster::TextWidth("-000.00000", scale) + 12;
  const int right = 12 + KeyWidth(Key(), scale) + 8;
  // The frame keeps kInset pixels clear around the track, so the start and
  // end marks are never cut.
  area_ = {left + kInset, TopMargin(scale) + kInset, width_ - left - right - 2 * kInset,
           height_ - TopMargin(scale) - BottomMargin(scale) - 2 * kInset};
  area_.width = std::max(area_.width, 2);
  area_.height = std::max(area_.height, 2);
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
  const Area frame = Frame();
  picture.StrokeRect(frame.x, frame.y, frame.width, frame.height, kFrame);
  DrawTitle(picture,
            "track, " + std::to_string(extent_.fixes) + " fixes, " + std::to_string(extent_.pings) +
                " pings",
            scale);
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
  DrawAxes(picture, scale);
  DrawScaleBar(picture, area_.x + 4, area_.y + area_.height - 8, metresPerPixel_, area_.width / 4,
               scale);
  DrawNorthArrow(picture, area_.x + area_.width - 12, area_.y + 8 + Raster::TextHeight(scale),
                 scale);
  DrawKey(picture, frame.x + frame.width + 12, frame.y, Key(), scale);
  return picture;
}

Area TrackPlot::Frame() const {
  return {area_.x - kInset, area_.y - kInset, area_.width + 2 * kInset, area_.height + 2 * kInset};
}

TrackPlot::AxisEdges TrackPlot::Axes() const {
  // The frame's edges in metres from the first fix, then in the fixes' own
  // coordinates.
  const Area frame = Frame();
  const double halfWidth = frame.width / 2.0 * metresPerPixel_;
  const double halfHeight = frame.height / 2.0 * metresPerPixel_;
  return {projection_.EastValue(midEast_ - halfWidth), projection_.EastValue(midEast_ + halfWidth),
          projection_.NorthValue(midNorth_ - halfHeight),
          projection_.NorthValue(midNorth_ + halfHeight), projection_.geographic()};
}

void TrackPlot::DrawAxes(Raster& picture, int scale) const {
  const AxisEdges edges = Axes();
  const Area frame = Frame();
  DrawXAxis(picture, frame, edges.west, edges.east,
            edges.degrees ? std::string("longitude (") + kDegree + "E)" : "easting (m)", scale);
  DrawYAxis(picture, frame, edges.north, edges.south,
            edges.degrees ? std::string("latitude (") + kDegree + "N)" : "northing (m)", scale);
}

}  // namespace xseplot
