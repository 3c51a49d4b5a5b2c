// The survey plots fed known geometry: where a track, a flat or stepped
// seafloor and a one-sided sidescan must land in the picture.
#include "tools/plot/surveyplots.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <numbers>
#include <optional>

#include "tools/plot/chart.h"
#include "tools/plot/colormap.h"

namespace {

using namespace xseplot;

constexpr double kLatitude = 0.95;  // radians, about 54.4 degrees north
constexpr double kLongitude = 0.19;
constexpr double kEarthRadius = 6371008.8;

// Both passes over the same records, as xse plot streams a file twice.
template <typename Plot>
struct Drawing {
  template <typename Feed>
  explicit Drawing(Feed feed, int width = 400, int height = 300) {
    feed(extent);
    plot.emplace(extent, width, height);
    feed(*plot);
    picture.emplace(plot->Render());
  }
  SurveyExtent extent;
  std::optional<Plot> plot;
  std::optional<Raster> picture;
};

// Axis numbers: round steps, inside the range, either order of the ends.
TEST(ChartTest, TicksAreRoundAndInsideTheRange) {
  struct Case {
    double lo, hi;
    int count;
    std::vector<double> ticks;
    int decimals;
  } const cases[] = {
      {0, 100, 5, {0, 20, 40, 60, 80, 100}, 0},
      {-37.5, 41, 4, {-20, 0, 20, 40}, 0},
      {41, -37.5, 4, {-20, 0, 20, 40}, 0},
      {10.13, 10.61, 5, {10.2, 10.3, 10.4, 10.5, 10.6}, 1},
      {54.4251, 54.4262, 2, {54.4255, 54.426}, 4},
      {3, 3, 5, {3}, 0},
  };
  for (const Case& c : cases) {
    const std::vector<double> ticks = Ticks(c.lo, c.hi, c.count);
    ASSERT_EQ(ticks.size(), c.ticks.size()) << c.lo << ".." << c.hi;
    for (size_t i = 0; i < ticks.size(); ++i) EXPECT_NEAR(ticks[i], c.ticks[i], 1e-9);
    if (ticks.size() > 1) {
      EXPECT_EQ(TickDecimals(ticks[1] - ticks[0]), c.decimals);
    }
  }
}

quor::NavigationRec Fix(double eastMetres, double northMetres) {
  quor::NavigationRec fix;
  fix.valid = 1;
  fix.fieldMask = quor::NavigationRec::kWgs84 | quor::NavigationRec::kWgs84Datum;
  fix.geographicFirst = kLatitude + northMetres / kEarthRadius;
  fix.geographicSecond = kLongitude + eastMetres / (kEarthRadius * std::cos(kLatitude));
  return fix;
}

TEST(TrackPlotTest, NorthThenEastLandsNorthUpAtOneScale) {
  // 200 m north, then 100 m east, a fix every metre and a ping at each fix.
  const auto feed = [](quor::ISurveyTarget& target) {
    quor::MultibeamRec ping;
    for (int i = 0; i <= 300; ++i) {
      target.HandlePosition(i <= 200 ? Fix(0, i) : Fix(i - 200, 200));
      target.HandleMultibeam(ping);
    }
  };
  const Drawing<TrackPlot> drawing(feed);
  const TrackPlot& plot = *drawing.plot;
  const Raster& picture = *drawing.picture;
  EXPECT_NEAR(drawing.extent.north.max, 200, 0.01);
  EXPECT_NEAR(drawing.extent.east.max, 100, 0.01);
  // The taller side fills the plot's height; east keeps the same scale.
  EXPECT_NEAR(plot.metresPerPixel(), 200.0 / (plot.area().height - 1), 1e-6);

  int startX = 0, startY = 0, cornerX = 0, cornerY = 0, endX = 0, endY = 0;
  plot.ToPixel(0, 0, startX, startY);
  plot.ToPixel(0, 200, cornerX, cornerY);
  plot.ToPixel(100, 200, endX, endY);
  EXPECT_EQ(startX, cornerX);
  EXPECT_NEAR(startY - cornerY, plot.area().height - 1, 2);  // north is up, ends rounded
  EXPECT_EQ(cornerY, endY);
  EXPECT_NEAR(endX - cornerX, (plot.area().height - 1) / 2.0, 1.0);
  EXPECT_EQ(picture.At(startX, startY), (Rgb{30, 160, 60}));  // start
  EXPECT_EQ(picture.At(endX, endY), (Rgb{200, 30, 30}));      // end
  const Rgb track = {24, 64, 128};
  // Fixes land on the pixel nearest them: one pixel either way at most.
  const auto nearTrack = [&](int x, int y) {
    for (int dy = -1; dy <= 1; ++dy)
      for (int dx = -1; dx <= 1; ++dx)
        if (picture.At(x + dx, y + dy) == track) return true;
    return false;
  };
  EXPECT_TRUE(nearTrack(cornerX, cornerY));
  EXPECT_TRUE(nearTrack(startX, (startY + cornerY) / 2));
  EXPECT_TRUE(nearTrack((cornerX + endX) / 2, cornerY));
  // Nothing of the track west of the first leg or south of the start.
  for (int y = plot.area().y; y < plot.area().y + plot.area().height; ++y)
    EXPECT_NE(picture.At(startX - 3, y), track);

  // The axes number the frame in degrees: it holds the whole track, and its
  // edges lie as many metres apart as its pixels at the plot's scale.
  const TrackPlot::AxisEdges axes = plot.Axes();
  const double degree = std::numbers::pi / 180, toMetres = degree * kEarthRadius;
  ASSERT_TRUE(axes.degrees);
  EXPECT_LT(axes.south * degree, kLatitude);
  EXPECT_GT(axes.north * degree, kLatitude + 200 / kEarthRadius);
  EXPECT_LT(axes.west * degree, kLongitude);
  EXPECT_GT(axes.east * degree, kLongitude + 100 / (kEarthRadius * std::cos(kLatitude)));
  const double frameHeight = (plot.area().height + 12) * plot.metresPerPixel();
  EXPECT_NEAR((axes.north - axes.south) * toMetres, frameHeight, frameHeight * 0.01);
  EXPECT_NEAR((axes.east - axes.west) * toMetres * std::cos(kLatitude),
              (plot.area().width + 12) * plot.metresPerPixel(), frameHeight * 0.01);
}

quor::MultibeamRec Ping(uint32_t beams) {
  quor::MultibeamRec ping;
  ping.Reallocate(quor::MultibeamRec::kDefaultArrayMask | quor::MultibeamRec::kDepth, beams);
  ping.fieldMask = quor::MultibeamRec::kDepth;
  return ping;
}

TEST(SwathPlotTest, FlatSeafloorIsOneColourOverTheWholeSwath) {
  const auto feed = [](quor::ISurveyTarget& target) {
    quor::MultibeamRec ping = Ping(64);
    for (uint32_t beam = 0; beam < 64; ++beam) ping.depth[beam] = 20.0f;
    for (int i = 0; i < 1000; ++i) target.HandleMultibeam(ping);  // more pings than columns
  };
  const Drawing<SwathPlot> drawing(feed);
  const Raster& picture = *drawing.picture;
  const Area area = drawing.plot->area();
  const Rgb middle = DepthColour(0.5);
  for (int y = area.y; y < area.y + area.height; ++y)
    for (int x = area.x; x < area.x + area.width; ++x)
      ASSERT_EQ(picture.At(x, y), middle) << x << "," << y;
  EXPECT_NE(picture.At(area.x - 2, area.y + area.height / 2), middle);
}

TEST(SwathPlotTest, StepInDepthAndMissingBeamsLandInTheirColumnsAndRows) {
  // 10 shallow pings then 10 deep ones; the starboard half of the beams has
  // no depth.
  const auto feed = [](quor::ISurveyTarget& target) {
    quor::MultibeamRec ping = Ping(8);
    for (int i = 0; i < 20; ++i) {
      for (uint32_t beam = 0; beam < 8; ++beam)
        ping.depth[beam] =
            beam < 4 ? (i < 10 ? 10.0f : 30.0f) : std::numeric_limits<float>::quiet_NaN();
      target.HandleMultibeam(ping);
    }
  };
  const Drawing<SwathPlot> drawing(feed);
  const Raster& picture = *drawing.picture;
  const Area area = drawing.plot->area();
  const int portRow = area.y + area.height / 4, starboardRow = area.y + 3 * area.height / 4;
  EXPECT_EQ(picture.At(area.x, portRow), DepthColour(0));
  EXPECT_EQ(picture.At(area.x + area.width / 2 - 1, portRow), DepthColour(0));
  EXPECT_EQ(picture.At(area.x + area.width / 2, portRow), DepthColour(1));
  EXPECT_EQ(picture.At(area.x + area.width - 1, portRow), DepthColour(1));
  EXPECT_EQ(picture.At(area.x + area.width / 4, starboardRow), (Rgb{235, 235, 235}));
  EXPECT_EQ(drawing.plot->bottom(), 8) << "without distances the rows are beams";

  // With across-track distances the rows run from the farthest port beam to
  // the farthest starboard one, in metres.
  const auto feedDistances = [](quor::ISurveyTarget& target) {
    using MB = quor::MultibeamRec;
    quor::MultibeamRec ping = Ping(5);
    ping.Reallocate(MB::kDefaultArrayMask | MB::kDepth | MB::kAcrossTrack, 5);
    ping.fieldMask = MB::kDepth | MB::kAcrossTrack;
    for (uint32_t beam = 0; beam < 5; ++beam) {
      ping.depth[beam] = 20;
      ping.acrossTrack[beam] = -120.0f + 50.0f * static_cast<float>(beam);
    }
    target.HandleMultibeam(ping);
  };
  const Drawing<SwathPlot> metres(feedDistances);
  EXPECT_EQ(metres.plot->top(), -120);
  EXPECT_EQ(metres.plot->bottom(), 80);
}

TEST(WaterfallPlotTest, QuietPortAndLoudStarboardSplitThePicture) {
  const auto feed = [](quor::ISurveyTarget& target) {
    quor::SidescanRec ping;
    ping.fieldMask = quor::SidescanRec::kSamples;
    ping.sampleCount = 100;
    ping.samples = std::make_unique<float[]>(100);
    for (uint32_t i = 0; i < 100; ++i) ping.samples[i] = i < 50 ? 0.0f : 500.0f;
    for (int i = 0; i < 30; ++i) target.HandleSidescan(ping);
  };
  const Drawing<WaterfallPlot> drawing(feed, 200, 150);
  const Raster& picture = *drawing.picture;
  const Area area = drawing.plot->area();
  for (int y = area.y; y < area.y + area.height; y += 7) {
    EXPECT_EQ(picture.At(area.x + 1, y), (Rgb{0, 0, 0}));
    EXPECT_EQ(picture.At(area.x + area.width - 2, y), (Rgb{255, 255, 255}));
  }
}

}  // namespace
