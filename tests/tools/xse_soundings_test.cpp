// `xse soundings` as users run it: points along the generated survey's track,
// in both formats, with the per-file account on stderr.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>

#include "support/regexmatch.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using xsetest::RunXse;

TEST(XseSoundings, PointsLieAlongTheTrackInBothFormats) {
  xsetest::TempDir dir;
  const std::string path = dir.File("s.xse");
  ASSERT_EQ(RunXse({"gen", "--duration", "2", "--beams", "8", path}).status, 0);
  const auto csv = RunXse({"soundings", path});
  const auto xyz = RunXse({"soundings", "--format", "xyz", path});
  ASSERT_EQ(csv.status, 0) << csv.err;
  ASSERT_EQ(xyz.status, 0) << xyz.err;
  EXPECT_THAT(csv.err, xsetest::MatchesRegex(path + ": [0-9]+ soundings from 20 pings; left out: "
                                                    "0 pings before and 0 after the navigation, "
                                                    "[0-9]+ beams, 0 projected fixes\n"));
  EXPECT_TRUE(csv.out.starts_with("time,pingNumber,beam,latitude,longitude,depth,quality\n"));
  const size_t soundings = std::stoul(csv.err.substr(path.size() + 2));
  EXPECT_GT(soundings, 20u * 16 * 9 / 10);
  EXPECT_EQ(static_cast<size_t>(std::count(xyz.out.begin(), xyz.out.end(), '\n')), soundings);
  // The generated vessel starts near 54.4 N 10.8 E and covers some 10 m in
  // two seconds; its swath reaches some 300 m to either side.
  std::istringstream lines(xyz.out);
  double lon = 0, lat = 0, depth = 0;
  size_t read = 0;
  while (lines >> lon >> lat >> depth) {
    ++read;
    EXPECT_NEAR(lat, 54.4267, 0.003);  // 330 m
    EXPECT_NEAR(lon, 10.7986, 0.006);  // 390 m
    EXPECT_GT(depth, 10);
  }
  EXPECT_EQ(read, soundings);
}

}  // namespace
