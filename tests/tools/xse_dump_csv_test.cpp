// `xse dump --format csv` and the record selection options: header rows,
// rows per beam and sample, kinds and limits.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/runtool.h"
#include "support/tempdir.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"
#include "tools/xse/csvwriter.h"

namespace {

using ::testing::StartsWith;
using xsetest::RunXse;
using xsetest::TempDir;
using xsewriter::FrameWriter;

struct HeaderCase {
  const char* kind;
  const char* header;
};

class CsvHeaderTest : public ::testing::TestWithParam<HeaderCase> {};

TEST_P(CsvHeaderTest, EveryTableStartsWithItsHeaderRow) {
  TempDir dir;
  FrameWriter writer(true);
  writer.BeginFrame(elac::kNavigationFrame, 3838320000u, 0);
  xsewriter::PutHeadingGroup(writer, 0.0);
  const auto frame = writer.EndFrame();
  const auto path = dir.Write("one.xse", {frame.begin(), frame.end()});
  const auto result = RunXse({"dump", "--format", "csv", "--kind", GetParam().kind, path});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(result.out, StartsWith(std::string(GetParam().header) + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, CsvHeaderTest,
    ::testing::Values(
        HeaderCase{"startTime", "time"},
        HeaderCase{"parameter",
                   "time,valid,fieldMask,sensorKind,deviceType,deviceId,name,offsetX,offsetY,"
                   "offsetZ,mountAngle1,mountAngle2,mountAngle3,latencyMs,angleOffset1,"
                   "angleOffset2,angleOffset3"},
        HeaderCase{"position",
                   "time,valid,fieldMask,geographicFirst,geographicSecond,projectedFirst,"
                   "projectedSecond,thirdCoordinate"},
        HeaderCase{"gyro", "time,valid,sensorIndex,heading"},
        HeaderCase{"motion", "time,valid,fieldMask,roll,pitch,heave"},
        HeaderCase{"multibeam",
                   "ping,beam,time,soundVelocity,travelTime,acrossAngle,alongAngle,depth,"
                   "acrossTrack,alongTrack,quality"},
        HeaderCase{"sidescan", "ping,sample,time,slantRange,sampleInterval,amplitude"}));

TEST(XseDumpCsv, MultibeamGivesOneRowPerBeamWithEmptyCellsForMissingValues) {
  FrameWriter writer(false);
  writer.BeginFrame(elac::kBathymetryFrame, 3838320000u, 500000);
  xsewriter::PutPingNumberGroup(writer, 41);
  const double depths[] = {20.5, 21.0, 22.25};
  const double across[] = {-3.0, 0.0, 3.5};
  const double along[] = {0.1, 0.2, 0.3};
  xsewriter::PutBeamValuesGroup(writer, xsewriter::kDepthGroup, depths);
  xsewriter::PutBeamValuesGroup(writer, xsewriter::kAcrossTrackGroup, across);
  xsewriter::PutBeamValuesGroup(writer, xsewriter::kAlongTrackGroup, along);
  const auto frame = writer.EndFrame();
  TempDir dir;
  const auto path = dir.Write("ping.xse", {frame.begin(), frame.end()});
  const auto result = RunXse({"dump", "--format", "csv", "--kind", "multibeam", path});
  EXPECT_EQ(result.status, 0) << result.err;
  // Beam 0 is the last beam on the wire; across-track values change sign.
  EXPECT_EQ(result.out,
            "ping,beam,time,soundVelocity,travelTime,acrossAngle,alongAngle,depth,acrossTrack,"
            "alongTrack,quality\n"
            "41,0,2022-08-19T00:00:00.500000Z,1500,,,,22.25,-3.5,0.3,\n"
            "41,1,2022-08-19T00:00:00.500000Z,1500,,,,21,-0,0.2,\n"
            "41,2,2022-08-19T00:00:00.500000Z,1500,,,,20.5,3,0.1,\n");
}

TEST(XseDumpCsv, SidescanGivesOneRowPerSample) {
  FrameWriter writer(true);
  writer.BeginFrame(elac::kSidescanFrame, 3838320000u, 0);
  xsewriter::PutSidescanPingGroup(writer, 9);
  const uint16_t samples[] = {10, 11, 12, 13};
  xsewriter::PutSidescanSamplesGroup(writer, 100, 100, samples);
  xsewriter::PutSidescanGainGroup(writer, 0, -1);
  const auto frame = writer.EndFrame();
  TempDir dir;
  const auto path = dir.Write("side.xse", {frame.begin(), frame.end()});
  const auto result = RunXse({"dump", "--format", "csv", "--kind", "sidescan", path});
  EXPECT_EQ(result.status, 0) << result.err;
  // Numbers take their shortest form (1e-04 is shorter than 0.0001).
  // 2 x (2 + 1) samples: the second half of the group reversed, two zeros of
  // delay, the first half reversed and doubled by its gain.
  std::string expected = "ping,sample,time,slantRange,sampleInterval,amplitude\n";
  const char* amplitudes[] = {"13", "12", "0", "0", "22", "20"};
  for (int i = 0; i < 6; ++i) {
    expected += "9," + std::to_string(i) + ",2022-08-19T00:00:00.000000Z,0.225,1e-04," +
                amplitudes[i] + "\n";
  }
  EXPECT_EQ(result.out, expected);
}

TEST(XseDumpCsv, NamesWithCommasOrQuotesAreQuoted) {
  std::FILE* out = std::tmpfile();
  ASSERT_NE(out, nullptr);
  {
    xsetool::CsvRecordWriter csv(out, xsetool::RecordKind::kParameter);
    quor::ParameterRec record;
    record.name.Assign("Port \"A\", aft");
    csv.HandleParameter(record);
    record.name.Assign("plain");
    csv.HandleParameter(record);
    csv.HandleGyro(quor::GyroRec{});  // another kind: no row
    ASSERT_TRUE(csv.Flush());
  }
  std::rewind(out);
  std::string text(4096, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), out));
  std::fclose(out);
  std::istringstream lines(text);
  std::string header, first, second, rest;
  std::getline(lines, header);
  std::getline(lines, first);
  std::getline(lines, second);
  EXPECT_FALSE(std::getline(lines, rest));
  EXPECT_EQ(first,
            "1970-01-01T00:00:00.000000Z,0,0,0,0,0,\"Port \"\"A\"\", aft\",0,0,0,0,0,0,0,0,0,0");
  EXPECT_EQ(second, "1970-01-01T00:00:00.000000Z,0,0,0,0,0,plain,0,0,0,0,0,0,0,0,0,0");
}

TEST(XseDump, KindAndLimitSelectRecordsInJsonLinesToo) {
  TempDir dir;
  const std::string path = dir.File("s.xse");
  ASSERT_EQ(RunXse({"gen", "--duration", "1", "--beams", "2", path}).status, 0);
  const auto result = RunXse({"dump", "--kind", "gyro", "--limit", "3", path});
  EXPECT_EQ(result.status, 0) << result.err;
  std::istringstream lines(result.out);
  int count = 0;
  for (std::string line; std::getline(lines, line); ++count)
    EXPECT_THAT(line, StartsWith("{\"kind\":\"gyro\","));
  EXPECT_EQ(count, 3);

  const auto csv = RunXse({"dump", "--format", "csv", "--kind", "multibeam", "--limit", "2", path});
  EXPECT_EQ(csv.status, 0);
  EXPECT_EQ(std::count(csv.out.begin(), csv.out.end(), '\n'), 1 + 2 * 4) << "two pings of 4 beams";
}

struct UsageCase {
  std::vector<std::string> args;
  const char* message;
};

class XseDumpCsvUsageTest : public ::testing::TestWithParam<UsageCase> {};

TEST_P(XseDumpCsvUsageTest, WrongUsageExitsTwo) {
  auto args = GetParam().args;
  args.insert(args.begin(), "dump");
  const auto result = RunXse(args);
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.err, StartsWith(std::string("xse dump: ") + GetParam().message + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, XseDumpCsvUsageTest,
    ::testing::Values(UsageCase{{"--format", "csv", "f"}, "--format csv needs --kind"},
                      UsageCase{{"--kind", "ping", "f"}, "unknown kind 'ping'"},
                      UsageCase{{"--limit", "-1", "f"}, "invalid limit '-1'"},
                      UsageCase{{"--kind"}, "--kind needs a value"}));

}  // namespace
