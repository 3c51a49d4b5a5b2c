#include "xsereader/soundings.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/soundings/grid.h"
#include "interpreters/surveyreaderlib/soundings/utm.h"
#include "xsereader/geodesy.h"

namespace {

constexpr double kDegree = 3.14159265358979323846 / 180.0;

// Metres between two nearby points given in degrees.
double MetresApart(double lat1, double lon1, double lat2, double lon2) {
  const double north = (lat2 - lat1) * 111320.0;
  const double east = std::remainder(lon2 - lon1, 360.0) * 111320.0 * std::cos(lat1 * kDegree);
  return std::hypot(north, east);
}

// Reference end points of geodesics on WGS84 from an independent geodesic
// library: start, azimuth and length, end.
TEST(OffsetOnEllipsoid, StaysWithinOneCentimetreOfTheGeodesicUpToOneKilometre) {
  const struct {
    double lat, lon, azimuth, metres, endLat, endLon;
  } kCases[] = {
      {54.4, 10.8, 0, 1000, 54.4089837151, 10.8000000000},
      {54.4, 10.8, 90, 1000, 54.3999990185, 10.8153975224},
      {54.4, 10.8, 225, 1000, 54.3936470553, 10.7891139893},
      {-33.9, 151.2, 30, 707.1, -33.8944791723, 151.2038222091},
      {80.0, -179.99, 90, 1000, 79.9999960313, -179.9384363068},  // across 180°
      {0, 0, 270, 1000, 0.0000000000, -0.0089831528},
  };
  for (const auto& c : kCases) {
    const double north = c.metres * std::cos(c.azimuth * kDegree);
    const double east = c.metres * std::sin(c.azimuth * kDegree);
    const auto end = soundings::OffsetOnEllipsoid({c.lat * kDegree, c.lon * kDegree}, north, east);
    EXPECT_LT(MetresApart(c.endLat, c.endLon, end.latitude / kDegree, end.longitude / kDegree),
              0.01)
        << c.lat << " " << c.lon << " azimuth " << c.azimuth;
  }
}

// The per-ping frame against the iterative mapping it replaces: a tenth of
// a millimetre up to 1 km, a millimetre up to 5 km, at any latitude short
// of the poles and across 180 degrees.
TEST(LocalFrame, MatchesTheIterativeOffsetUpToFiveKilometres) {
  const double kLatitudes[] = {0, -33.9, 54.4, 80, 88};
  const struct { double metres, tolerance; } kReaches[] = {{10, 1e-4}, {1000, 1e-4}, {5000, 1e-3}};
  for (const double lat : kLatitudes) {
    const soundings::GeoPoint origin{lat * kDegree, 179.99 * kDegree};
    const soundings::LocalFrame frame(origin);
    for (const auto& reach : kReaches) {
      for (int azimuth = 0; azimuth < 360; azimuth += 15) {
        const double north = reach.metres * std::cos(azimuth * kDegree);
        const double east = reach.metres * std::sin(azimuth * kDegree);
        const auto want = soundings::OffsetOnEllipsoid(origin, north, east);
        const auto got = frame.Offset(north, east);
        EXPECT_LT(MetresApart(want.latitude / kDegree, want.longitude / kDegree,
                              got.latitude / kDegree, got.longitude / kDegree),
                  reach.tolerance)
            << lat << " N, " << reach.metres << " m at " << azimuth;
      }
    }
  }
}

// Reference projections from an independent library, including a point far
// out of its zone's centre and one in the south across 180 degrees; the
// per-ping polynomial agrees with the full series around each.
TEST(Utm, ProjectsAsTheReferenceAndThePingPolynomialFollows) {
  const struct {
    double lat, lon;
    int zone;
    bool south;
    double easting, northing;
  } kCases[] = {
      {54.4, 10.8, 32, false, 616848.9789, 6029519.9624},
      {-33.9, 151.2, 56, true, 333568.9410, 6247473.3368},
      {0.0, 3.0, 31, false, 500000.0000, 0.0000},
      {71.0, 25.9, 35, false, 460031.8056, 7877759.5446},
      {54.4, 14.9, 32, false, 882806.5340, 6044077.1334},
      {-0.5, -179.9, 1, true, 177176.0374, 9944663.6224},
  };
  for (const auto& c : kCases) {
    const soundings::UtmProjection projection({c.zone, c.south});
    double easting = 0, northing = 0;
    projection.Forward(c.lat, c.lon, easting, northing);
    EXPECT_NEAR(easting, c.easting, 1e-3) << c.lat << " " << c.lon;
    EXPECT_NEAR(northing, c.northing, 1e-3) << c.lat << " " << c.lon;
    soundings::LocalUtm local;
    local.Anchor(projection, c.lat, c.lon);
    for (const double step : {0.009, -0.019}) {  // about 1 km and 2 km each way
      double wantE = 0, wantN = 0, gotE = 0, gotN = 0;
      ASSERT_TRUE(local.Covers(c.lat + step, c.lon - step));
      projection.Forward(c.lat + step, c.lon - step, wantE, wantN);
      local.Forward(c.lat + step, c.lon - step, gotE, gotN);
      EXPECT_LT(std::hypot(gotE - wantE, gotN - wantN), std::fabs(step) < 0.01 ? 1e-4 : 2e-4)
          << c.lat << " " << c.lon << " step " << step;
    }
  }
  const auto zone = soundings::ParseZone("33S");
  ASSERT_TRUE(zone.has_value());
  EXPECT_EQ(soundings::EpsgCode(*zone), 32733);
  EXPECT_EQ(soundings::ZoneName(soundings::ZoneOf(-0.5, -179.9)), "1S");
  for (const char* bad : {"", "N", "0N", "61S", "32X", "3 2N"})
    EXPECT_FALSE(soundings::ParseZone(bad).has_value()) << bad;
}

// Partial grids merged in any order give the same cells, exactly.
TEST(PartialGrid, MergesToTheSameCellsInAnyOrder) {
  soundings::PartialGrid a, b, ab, ba;
  a.Add(-1, 2, 10.25f);
  a.Add(-1, 2, 10.75f);
  b.Add(-1, 2, 9.5f);
  b.Add(3, -4, 20.0f);
  ab.Merge(a);
  ab.Merge(b);
  ba.Merge(b);
  ba.Merge(a);
  ASSERT_EQ(ab.soundings(), 4u);
  ASSERT_EQ(ab.cellCount(), 2u);
  ASSERT_NE(ab.Find(-1, 2), nullptr);
  EXPECT_EQ(ab.Find(0, 2), nullptr);
  const auto& cell = *ab.Find(-1, 2);
  EXPECT_EQ(cell.depthSum, ba.Find(-1, 2)->depthSum);
  EXPECT_EQ(cell.depthSum, 305000);
  EXPECT_EQ(cell.minimum, 9.5f);
  EXPECT_EQ(cell.maximum, 10.75f);
  const soundings::GridBounds bounds = soundings::BoundsOf(ab);
  ASSERT_EQ(bounds.columns, 5u);
  ASSERT_EQ(bounds.rows, 7u);
  EXPECT_EQ(bounds.left, -1);
  EXPECT_EQ(bounds.top, 2);
  float layers[soundings::kGridLayers];
  soundings::CellLayers(cell, layers);  // top-left: column -1, row 2
  EXPECT_FLOAT_EQ(layers[soundings::kMeanLayer], 30.5f / 3);
  EXPECT_EQ(layers[soundings::kCountLayer], 3.0f);
  EXPECT_NEAR(layers[soundings::kDeviationLayer], 0.513701, 1e-5);
  soundings::CellLayers(*ab.Find(3, -4), layers);  // bottom-right
  EXPECT_EQ(layers[soundings::kMeanLayer], 20.0f);
}

struct Collected final : soundings::ISoundingSink {
  void HandleSounding(const soundings::Sounding& sounding) override { all.push_back(sounding); }
  std::vector<soundings::Sounding> all;
};

quor::timeval At(double seconds) {
  const auto whole = static_cast<int32_t>(std::floor(seconds));
  return {whole, static_cast<int32_t>(std::lround((seconds - whole) * 1e6))};
}

void Fix(soundings::SoundingTarget& target, double seconds, double latDeg, double lonDeg,
         uint32_t mask = 0x3) {
  quor::NavigationRec fix;
  fix.time = At(seconds);
  fix.fieldMask = mask;
  fix.geographicFirst = latDeg * kDegree;
  fix.geographicSecond = lonDeg * kDegree;
  target.HandlePosition(fix);
}

void Heading(soundings::SoundingTarget& target, double seconds, double degrees,
             int32_t sensor = 0) {
  quor::GyroRec gyro;
  gyro.time = At(seconds);
  gyro.heading = degrees;
  gyro.sensorIndex = sensor;
  target.HandleGyro(gyro);
}

// A ping of beams given as {along, across, depth, quality}.
void Ping(soundings::SoundingTarget& target, double seconds,
          std::vector<std::vector<float>> beams) {
  using MB = quor::MultibeamRec;
  quor::MultibeamRec ping;
  ping.Reallocate(
      MB::kDefaultArrayMask | MB::kAcrossTrack | MB::kAlongTrack | MB::kDepth | MB::kQuality,
      static_cast<uint32_t>(beams.size()));
  ping.fieldMask = MB::kDepth | MB::kAcrossTrack | MB::kAlongTrack | MB::kQuality;
  ping.time = At(seconds);
  ping.pingNumber = 7;
  for (size_t i = 0; i < beams.size(); ++i) {
    ping.alongTrack[i] = beams[i][0];
    ping.acrossTrack[i] = beams[i][1];
    ping.depth[i] = beams[i][2];
    ping.quality[i] = static_cast<uint8_t>(beams[i][3]);
  }
  target.HandleMultibeam(ping);
}

// North and east metres of a sounding from 54.4 N 10.8 E.
std::string Offset(const soundings::Sounding& s) {
  constexpr double kMeridianRadius = 6377733.0, kNormalRadius = 6392298.4;  // at 54.4 N
  const double north = (s.latitude - 54.4) * kDegree * kMeridianRadius;
  const double east = (s.longitude - 10.8) * kDegree * kNormalRadius * std::cos(54.4 * kDegree);
  const auto centimetres = [](double metres) { return std::round(metres * 100) / 100 + 0.0; };
  char text[64];
  std::snprintf(text, sizeof text, "N%.2f E%.2f", centimetres(north), centimetres(east));
  return text;
}

TEST(SoundingTarget, TurnsBeamsByTheInterpolatedHeadingAtTheInterpolatedPosition) {
  const struct {
    double headingBefore, headingAfter, along, across;
    const char* offset;
  } kCases[] = {
      {0, 0, 100, 0, "N100.00 E0.00"},     // forward, heading north
      {90, 90, 0, 10, "N-10.00 E0.00"},    // starboard while heading east: south
      {180, 180, 0, 10, "N0.00 E-10.00"},  // starboard while heading south: west
      {350, 10, 100, 0, "N100.00 E0.00"},  // across north: 0, not 180
      {10, 350, 0, 50, "N0.00 E50.00"},    // and back
      {0, 90, 100, 0, "N70.71 E70.71"},    // half-way between north and east
  };
  for (const auto& c : kCases) {
    Collected sink;
    soundings::SoundingTarget target(sink);
    Fix(target, 10.0, 54.4, 10.8);
    Heading(target, 10.0, c.headingBefore);
    Ping(target, 10.5, {{static_cast<float>(c.along), static_cast<float>(c.across), 20, 1}});
    Heading(target, 11.0, c.headingAfter);
    EXPECT_TRUE(sink.all.empty()) << "waits for the fix after the ping";
    Fix(target, 11.0, 54.4, 10.8);
    ASSERT_EQ(sink.all.size(), 1u);
    EXPECT_EQ(Offset(sink.all[0]), c.offset) << c.headingBefore << " to " << c.headingAfter;
    EXPECT_EQ(sink.all[0].depth, 20.0f);
  }
}

TEST(SoundingTarget, InterpolatesThePositionAndCountsWhatItLeavesOut) {
  Collected sink;
  soundings::SoundingTarget target(sink);
  Ping(target, 9.0, {{0, 0, 5, 1}});  // before the first fix
  Fix(target, 10.0, 54.4, 10.8);
  Fix(target, 10.2, 0.5, 0.5, 0x0);  // projected: left out, not guessed
  Heading(target, 10.0, 0);
  Heading(target, 10.0, 90, 1);  // a ping's own heading is not the navigation's
  Ping(target, 10.25, {{0, 0, 5, 1}, {0, 0, 5, 0}, {0, 0, NAN, 3}});
  Fix(target, 11.0, 54.4 + 400 / (kDegree * 6377733.0), 10.8);
  Heading(target, 11.0, 0);
  Ping(target, 12.0, {{0, 0, 5, 1}});  // after the last fix
  target.Finish();
  ASSERT_EQ(sink.all.size(), 1u);
  EXPECT_EQ(Offset(sink.all[0]), "N100.00 E0.00");
  EXPECT_EQ(sink.all[0].beam, 0u);
  EXPECT_EQ(sink.all[0].pingNumber, 7);
  EXPECT_EQ(sink.all[0].time, At(10.25));
  // Soundings, pings georeferenced, before and after the navigation, beams
  // left out (quality 0 and a missing depth), projected fixes.
  const auto& counts = target.counts();
  EXPECT_EQ((std::array{counts.soundings, counts.pingsGeoreferenced, counts.pingsBeforeNavigation,
                        counts.pingsAfterNavigation, counts.beamsLeftOut, counts.projectedFixes}),
            (std::array<uint64_t, 6>{1, 1, 1, 1, 2, 1}));
}

TEST(SoundingTarget, BoundsThePingsThatWaitForNavigation) {
  Collected sink;
  soundings::SoundingTarget target(sink);
  Fix(target, 0, 54.4, 10.8);
  Heading(target, 0, 0);
  const size_t pings = soundings::SoundingTarget::kMaxWaitingPings + 10;
  for (size_t i = 1; i <= pings; ++i) Ping(target, static_cast<double>(i), {{0, 0, 5, 1}});
  EXPECT_EQ(target.counts().pingsAfterNavigation, 10u);
  target.Finish();
  EXPECT_EQ(target.counts().pingsAfterNavigation, pings);
  EXPECT_TRUE(sink.all.empty());
}

// Cells far finer than the soundings' spacing: the tiles shrink, every cell stays.
TEST(PartialGrid, KeepsEveryCellWhenItsTilesShrink) {
  soundings::PartialGrid grid;
  for (int32_t i = 0; i < 2000; ++i)
    grid.Add(i * 100 - 7000, i * 37 - 3000, 1.0f + 0.25f * static_cast<float>(i % 4));
  grid.Add(-7000, -3000, 3.0f);
  ASSERT_EQ(grid.cellCount(), 2000u);
  EXPECT_EQ(grid.soundings(), 2001u);
  for (int32_t i = 0; i < 2000; ++i) {
    const soundings::GridCell* cell = grid.Find(i * 100 - 7000, i * 37 - 3000);
    ASSERT_NE(cell, nullptr) << i;
    EXPECT_EQ(cell->depthSum, i == 0 ? 40000 : 10000 + 2500 * (i % 4)) << i;
  }
}

// Whole pings binned through their fitted quadratic land in the cells the
// soundings one by one land in, out to 5 km (beyond 2 km projected exactly).
TEST(GridBinner, BinsWholePingsAsSoundingsOneByOne) {
  soundings::PartialGrid byPing, bySounding;
  for (soundings::PartialGrid* grid : {&byPing, &bySounding}) {
    soundings::GridBinner binner(0.25, soundings::UtmZone{32, false}, *grid);
    if (grid == &bySounding) binner.TakeSoundingsOnly();
    soundings::SoundingTarget target(binner);
    Fix(target, 10.0, 54.4, 10.8);
    Heading(target, 10.0, 30);
    for (int ping = 0; ping < 20; ++ping) {
      std::vector<std::vector<float>> beams;
      const auto p = static_cast<float>(ping);
      for (int beam = -50; beam <= 50; ++beam) {
        const auto b = static_cast<float>(beam);
        beams.push_back({p - 7.5f, b * b * b * 0.04f + 0.37f * p, 20.0f + 0.01f * b, 1});
      }
      Ping(target, 10.0 + 0.04 * ping, beams);
    }
    Heading(target, 11.0, 40);
    Fix(target, 11.0, 54.401, 10.8005);
  }
  ASSERT_EQ(byPing.soundings(), 20u * 101u);
  ASSERT_EQ(byPing.cellCount(), bySounding.cellCount());
  bySounding.ForEachCell([&](int32_t column, int32_t row, const soundings::GridCell& cell) {
    const soundings::GridCell* other = byPing.Find(column, row);
    ASSERT_NE(other, nullptr) << column << ", " << row;
    EXPECT_EQ(other->depthSum, cell.depthSum);
  });
}

}  // namespace
