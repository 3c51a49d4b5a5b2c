// The survey plots, each drawn in a second pass over the survey after a
// SurveyExtent has seen it all: every record lands at once in an
// accumulator of the picture's size, so memory does not grow with the
// survey. Render() then turns the accumulator into the picture.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/isurveytarget.h"
#include "tools/plot/raster.h"
#include "tools/plot/surveyextent.h"

namespace xseplot {

inline constexpr int kMinPlotSize = 100;  // pixels, either side
inline constexpr int kMaxPlotSize = 8000;

inline constexpr Rgb kWhite = {255, 255, 255};
inline constexpr Rgb kBlack = {0, 0, 0};
inline constexpr Rgb kNoData = {235, 235, 235};  // cells no record reached

// Labels at twice the font's size on pictures 400 pixels wide and more.
inline int TextScale(int width) { return width >= 400 ? 2 : 1; }

// The vessel's track seen from above, north up, in metres from the first
// fix, with a mark at each bathymetry ping, the start (green) and end (red),
// a scale bar and a north arrow. Both axes share one scale.
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

 private:
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

// Depth along the track: one column per ping (pings averaged when there are
// more than columns), one row per beam across the swath, port at the top,
// coloured shallow red to deep blue, with a legend.
class SwathPlot final : public quor::ISurveyTarget {
 public:
  SwathPlot(const SurveyExtent& extent, int width, int height);
  void HandleMultibeam(const quor::MultibeamRec& record) override;
  Raster Render() const;

  const Area& area() const { return area_; }

 private:
  const SurveyExtent& extent_;
  int width_, height_;
  Area area_;
  uint64_t ping_ = 0;
  PixelAverages pixels_;
};

// Sidescan: one row per ping (pings averaged when there are more than rows),
// first ping at the top, port to starboard, grey in proportion to the
// amplitude as recorded (gains applied), white from the 99.5th percentile
// of all amplitudes up.
class WaterfallPlot final : public quor::ISurveyTarget {
 public:
  WaterfallPlot(const SurveyExtent& extent, int width, int height);
  void HandleSidescan(const quor::SidescanRec& record) override;
  Raster Render() const;

  const Area& area() const { return area_; }

 private:
  const SurveyExtent& extent_;
  int width_, height_;
  Area area_;
  uint64_t ping_ = 0;
  PixelAverages pixels_;
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
