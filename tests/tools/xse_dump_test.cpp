// `xse dump` as users run it: exact output lines and exit codes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/runtool.h"
#include "support/tempdir.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using xsetest::RunXse;
using xsetest::TempDir;
using xsewriter::FrameWriter;

std::vector<uint8_t> Frame(FrameWriter& writer) {
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

TEST(XseDump, NavigationFrameGivesExactLines) {
  TempDir dir;
  FrameWriter writer(false);
  writer.BeginFrame(elac::kNavigationFrame, 3838320000u, 5);
  xsewriter::PutPositionGroup(writer, "WGS84", 0.1, -1e-300, 42.0);
  xsewriter::PutAttitudeGroup(writer, 0.25, std::numeric_limits<double>::quiet_NaN(), 0.0);
  const auto path = dir.Write("nav.xse", Frame(writer));
  const auto result = RunXse({"dump", path});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "{\"kind\":\"startTime\",\"sec\":1660867200,\"usec\":5}\n"
            "{\"kind\":\"position\",\"valid\":1,\"fieldMask\":3,\"sec\":1660867200,\"usec\":5,"
            "\"relTime\":0,\"sensorIndex\":0,\"projectedFirst\":0,\"projectedSecond\":0,"
            "\"geographicFirst\":0.1,\"geographicSecond\":-1e-300,\"thirdCoordinate\":42}\n"
            "{\"kind\":\"motion\",\"valid\":1,\"fieldMask\":7,\"sec\":1660867200,\"usec\":5,"
            "\"relTime\":0,\"sensorIndex\":0,\"roll\":null,\"pitch\":0,\"heave\":0.25}\n");
}

TEST(XseDump, MissingFileIsReportedAfterTheOthersAreDone) {
  TempDir dir;
  FrameWriter writer(true);
  writer.BeginFrame(elac::kNavigationFrame, 3838320000u, 0);
  xsewriter::PutHeadingGroup(writer, 0.0);
  const auto good = dir.Write("good.xse", Frame(writer));
  const auto result = RunXse({"dump", dir.File("missing.xse"), good});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "xse: cannot open " + dir.File("missing.xse") + ": No such file or directory\n");
  EXPECT_THAT(result.out, HasSubstr("\"kind\":\"gyro\""));
}

struct UsageCase {
  std::vector<std::string> args;
  int status;
  const char* stderrStart;
};

class XseDumpUsageTest : public ::testing::TestWithParam<UsageCase> {};

TEST_P(XseDumpUsageTest, WrongUsageExitsTwoWithAUsageLine) {
  const auto result = RunXse(GetParam().args);
  EXPECT_EQ(result.status, GetParam().status);
  EXPECT_THAT(result.err, StartsWith(GetParam().stderrStart));
  if (GetParam().status == 2) {
    EXPECT_THAT(result.err, HasSubstr("usage: xse"));
  }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, XseDumpUsageTest,
    ::testing::Values(UsageCase{{"dump"}, 2, "xse dump: no input file"},
                      UsageCase{{"dump", "--format", "xml", "f"}, 2, "xse dump: unknown format"},
                      UsageCase{{"dump", "--head"}, 2, "xse dump: --head needs a value"},
                      UsageCase{{"dump", "--bogus", "f"}, 2, "xse dump: unknown option"},
                      UsageCase{{"frobnicate"}, 2, "xse: unknown command"},
                      UsageCase{{}, 2, "usage: xse"}, UsageCase{{"dump", "--help"}, 0, ""}));

TEST(XseDump, HelpGoesToStdout) {
  const auto result = RunXse({"dump", "--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.out, StartsWith("usage: xse dump"));
}

}  // namespace
