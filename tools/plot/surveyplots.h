// The survey plots, each drawn in a second pass over the survey after a
// SurveyExtent has seen it all: every record lands at once in an
// accumulator of the picture's size, so memory does not grow with the
// survey. Render() then turns the accumulator into the picture.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/plot/colormap.h"
#include "tools/plot/raster.h"
#include "tools/plot/surveyextent.h"
#include "xsereader/isurveytarget.h"

namespace xseplot {

inline constexpr int kMinPlotSize = 100;  // pixels, either side
inline constexpr int kMaxPlotSize = 8000;

inline constexpr Rgb kWhite = {255, 255, 255};
inline constexpr Rgb kBlack = {0, 0, 0};
inline constexpr Rgb kNoData = {235, 235, 235};  // cells no record reached

// Labels at twice the font's size on pictures 400 pixels wide and more.
inline int TextScale(int width) { return width >= 400 ? 2 : 1; }

// The vessel's track seen from above, north up, with a mark at each
// bathymetry ping, the start (green) and end (red) and a key to them, a
// scale bar and a north arrow. Both axes share one scale; their numbers are
// latitude and longitude in degrees for WGS84 fixes, the recorded northing
// and easting otherwise.
class TrackPlot final : public quor::ISurveyTarget {
 public:
  TrackPlot(const SurveyExtent& extent, int width, int height);
  void HandlePosition(const quor::NavigationRec& record) override;
  void HandleMultibeam(const quor::MultibeamRec& record) override;
  Raster Render() const;

  const Area& area() const { return area_; }
  // The pixel of a point in metres east and north of the first fix.
  void ToPixel(double east, double north, int& x, int& y) const;
  double metresPerPixel() const { return metresPerPixel_; }
  // The edges of the numbered frame around the data area, in the axes'
  // units: degrees of longitude and latitude, or easting and northing.
  struct AxisEdges {
    double west, east, south, north;
    bool degrees;
  };
  AxisEdges Axes() const;

 private:
  Area Frame() const;
  // Numbered axes along the frame around the data area.
  void DrawAxes(Raster& picture, int scale) const;

  const SurveyExtent& extent_;
  int width_, height_;
  Area area_;
  double metresPerPixel_ = 1, midEast_ = 0, midNorth_ = 0;
  LocalProjection projection_;
  // Layers of the picture, non-black where the track or a ping mark lies.
  Raster track_, marks_;
  bool haveFix_ = false;
  int lastX_ = 0, lastY_ = 0, firstX_ = 0, firstY_ = 0;
  int lastMarkX_ = -1, lastMarkY_ = -1;
};

// Values averaged per pixel over a plot area: each value is added to every
// pixel of the row and column spans it covers.
class PixelAverages {
 public:
  void Resize(const Area& area);
  void Add(int firstRow, int endRow, int firstColumn, int endColumn, float value);
  // The mean at a pixel, or nothing when no value fell there.
  std::optional<double> Mean(int row, int column) const;

 private:
  size_t At(int row, int column) const {
    return static_cast<size_t>(row) * static_cast<size_t>(width_) + static_cast<size_t>(column);
  }
  int width_ = 0;
  std::vector<float> sum_;
  std::vector<uint32_t> count_;
};

// What the swath and waterfall plots share: the picture's size, the data
// area inside its axes, the pings seen so far and the per-pixel averages.
class AveragedPlot : public quor::ISurveyTarget {
 public:
  const Area& area() const { return area_; }

 protected:
  AveragedPlot(const SurveyExtent& extent, int width, int height);
  ~AveragedPlot() = default;
  // Sets the data area and sizes the averages to it.
  void LayOut(const Area& area);
  // The data area's averages coloured by `colour` of the mean (kNoData where
  // nothing fell), into a white picture of the whole size.
  template <typename Colour>
  Raster Paint(Colour colour) const {
    Raster picture(width_, height_, kWhite);
    for (int row = 0; row < area_.height; ++row) {
      for (int column = 0; column < area_.width; ++column) {
        const std::optional<double> mean = pixels_.Mean(row, column);
        picture.Set(area_.x + column, area_.y + row, mean ? colour(*mean) : kNoData);
      }
    }
    picture.StrokeRect(area_.x - 1, area_.y - 1, area_.width + 2, area_.height + 2, kBlack);
    return picture;
  }

  const SurveyExtent& extent_;
  int width_, height_;
  Area area_;
  uint64_t ping_ = 0;
  PixelAverages pixels_;
};

// Depth along the track: one column per ping (pings averaged when there are
// more than columns), rows by across-track distance in metres, port
// (negative) at the top, coloured by the depth scale with its colour bar.
// Pings without across-track distances take one row per beam instead.
class SwathPlot final : public AveragedPlot {
 public:
  SwathPlot(const SurveyExtent& extent, int width, int height);
  void HandleMultibeam(const quor::MultibeamRec& record) override;
  Raster Render() const;
  // The across-track distances of the area's top and bottom rows, or beam
  // numbers when the pings carry no distances.
  double top() const { return top_; }
  double bottom() const { return bottom_; }

 private:
  void RowSpan(const quor::MultibeamRec& record, uint32_t beam, int& first, int& end) const;
  double top_ = 0, bottom_ = 1, shallow_ = 0, deep_ = 1;
};

// Sidescan: one row per ping down the time axis (first ping at the top),
// columns by slant range in metres either side of the track (port
// negative), grey in proportion to the amplitude as recorded (gains
// applied) with its grey bar, white from the 99.5th percentile up.
class WaterfallPlot final : public AveragedPlot {
 public:
  WaterfallPlot(const SurveyExtent& extent, int width, int height);
  void HandleSidescan(const quor::SidescanRec& record) override;
  Raster Render() const;

 private:
  void ColumnSpan(const quor::SidescanRec& record, uint32_t sample, int& first, int& end) const;
  double white_ = 1, seconds_ = 0;
};

// The pixel span [first, end) that item `index` of `count` takes in
// `pixels` pixels: at least one pixel, items sharing a pixel when there are
// more of them than pixels.
void Span(uint64_t index, uint64_t count, int pixels, int& first, int& end);

// A round length (1, 2 or 5 times a power of ten) near `about`.
double RoundLength(double about);

// "12.5"-style text with `decimals` digits after the point.
std::string FormatNumber(double value, int decimals);

}  // namespace xseplot
