// `xse dump` as users run it: exact JSON lines and CSV tables, the record
// selection options and exit codes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/capturedoutput.h"
#include "support/runtool.h"
#include "support/tempdir.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"
#include "tools/xse/csvwriter.h"

namespace {

using namespace xsetest;
using ::testing::StartsWith;
using xsewriter::FrameWriter;

// Runs `xse dump` with `options` on a file of `frame`.
ToolResult Dump(std::span<const uint8_t> frame, std::vector<std::string> options) {
  TempDir dir;
  options.insert(options.begin(), "dump");
  options.push_back(dir.Write("f.xse", {frame.begin(), frame.end()}));
  return RunXse(options);
}

// Runs `xse dump` with `options` on a file of the frame `writer` holds.
ToolResult Dump(FrameWriter& writer, std::vector<std::string> options) {
  return Dump(writer.EndFrame(), std::move(options));
}

TEST(XseDump, NavigationFrameGivesExactLines) {
  FrameWriter writer(std::endian::little);
  writer.BeginFrame(elac::kNavigationFrame, 3838320000u, 5);
  xsewriter::PutPositionGroup(writer, "WGS84", 0.1, -1e-300, 42.0);
  xsewriter::PutAttitudeGroup(writer, 0.25, std::numeric_limits<double>::quiet_NaN(), 0.0);
  const auto ended = writer.EndFrame();
  const std::vector<uint8_t> frame(ended.begin(), ended.end());
  const auto result = Dump(frame, {});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.out,
            "{\"kind\":\"startTime\",\"sec\":1660867200,\"usec\":5}\n"
            "{\"kind\":\"position\",\"valid\":1,\"fieldMask\":3,\"sec\":1660867200,\"usec\":5,"
            "\"relTime\":0,\"sensorIndex\":0,\"projectedFirst\":0,\"projectedSecond\":0,"
            "\"geographicFirst\":0.1,\"geographicSecond\":-1e-300,\"thirdCoordinate\":42}\n"
            "{\"kind\":\"motion\",\"valid\":1,\"fieldMask\":7,\"sec\":1660867200,\"usec\":5,"
            "\"relTime\":0,\"sensorIndex\":0,\"roll\":null,\"pitch\":0,\"heave\":0.25}\n");
  // --degrees adds degrees after the record's own radians, in JSON and CSV.
  const std::string degrees =
      "\"latitude\":5.729577951308233,\"longitude\":-5.729577951308232e-299}";
  EXPECT_NE(Dump(frame, {"--degrees", "--kind", "position"}).out.find(degrees), std::string::npos);
  EXPECT_EQ(Dump(frame, {"--degrees", "--format", "csv", "--kind", "position"}).out,
            xsetool::CsvHeader(quor::RecordKind::kPosition) +
                ",latitude,longitude\n1,3,2022-08-19T00:00:00.000005Z,0,0,0,0,0.1,-1e-300,42,"
                "5.729577951308233,-5.729577951308232e-299\n");
}

// Columns follow the JSON members in order, the time pair as one cell.
// Multibeam, sidescan and parameter headers are asserted with their rows.
TEST(XseDumpCsv, EveryTableStartsWithItsHeaderRow) {
  using enum quor::RecordKind;
  const std::pair<quor::RecordKind, const char*> kHeaders[] = {
      {kStartTime, "time"},
      {kPosition,
       "valid,fieldMask,time,relTime,sensorIndex,projectedFirst,projectedSecond,geographicFirst,"
       "geographicSecond,thirdCoordinate"},
      {kGyro, "valid,fieldMask,time,relTime,sensorIndex,heading"},
      {kMotion, "valid,fieldMask,time,relTime,sensorIndex,roll,pitch,heave"}};
  for (const auto& [kind, header] : kHeaders) EXPECT_EQ(xsetool::CsvHeader(kind), header);
}

TEST(XseDumpCsv, MultibeamGivesOneRowPerBeamWithEmptyCellsForMissingValues) {
  FrameWriter writer(std::endian::little);
  writer.BeginFrame(elac::kBathymetryFrame, 3838320000u, 500000);
  xsewriter::PutPingNumberGroup(writer, 41);
  const double depths[] = {20.5, 21.0, 22.25}, across[] = {-3.0, 0.0, 3.5}, along[] = {.1, .2, .3};
  xsewriter::PutBeamValuesGroup(writer, xsewriter::kDepthGroup, depths);
  xsewriter::PutBeamValuesGroup(writer, xsewriter::kAcrossTrackGroup, across);
  xsewriter::PutBeamValuesGroup(writer, xsewriter::kAlongTrackGroup, along);
  const auto result = Dump(writer, {"--format", "csv", "--kind", "multibeam"});
  // Beam 0 is the last beam on the wire; across-track values change sign.
  EXPECT_EQ(result.out,
            "valid,fieldMask,time,relTime,sensorIndex,pingNumber,soundVelocity,beamCount,beam,"
            "travelTime,acrossAngle,alongAngle,depth,acrossTrack,alongTrack,quality\n"
            "1,1474,2022-08-19T00:00:00.500000Z,0,0,41,1500,3,0,,,,22.25,-3.5,0.3,\n"
            "1,1474,2022-08-19T00:00:00.500000Z,0,0,41,1500,3,1,,,,21,-0,0.2,\n"
            "1,1474,2022-08-19T00:00:00.500000Z,0,0,41,1500,3,2,,,,20.5,3,0.1,\n");
}

TEST(XseDumpCsv, SidescanGivesOneRowPerSample) {
  FrameWriter writer(std::endian::big);
  writer.BeginFrame(elac::kSidescanFrame, 3838320000u, 0);
  xsewriter::PutSidescanPingGroup(writer, 9);
  const uint16_t samples[] = {10, 11, 12, 13};
  xsewriter::PutSidescanSamplesGroup(writer, 100, 100, samples);
  xsewriter::PutSidescanGainGroup(writer, 0, -1);
  const auto result = Dump(writer, {"--format", "csv", "--kind", "sidescan"});
  // Numbers take their shortest form (1e-04 is shorter than 0.0001).
  // 2 x (2 + 1) samples: the second half of the group reversed, two zeros of
  // delay, the first half reversed and doubled by its gain.
  std::string expected =
      "valid,fieldMask,time,relTime,sensorIndex,pingNumber,slantRange,soundVelocity,"
      "sampleInterval,sampleCount,sample,samples\n";
  const char* amplitudes[] = {"13", "12", "0", "0", "22", "20"};
  for (int i = 0; i < 6; ++i) {
    expected += "1,22,2022-08-19T00:00:00.000000Z,0,0,9,0.225,1500,1e-04,6," + std::to_string(i) +
                "," + amplitudes[i] + "\n";
  }
  EXPECT_EQ(result.out, expected);
}

TEST(XseDumpCsv, NamesWithCommasOrQuotesAreQuoted) {
  CapturedOutput out;
  {
    xsetool::CsvRecordWriter csv(out.file(), quor::RecordKind::kParameter);
    quor::ParameterRec record;
    record.name.Assign("Port \"A\", aft");
    csv.HandleParameter(record);
    record.name.Assign("plain");
    csv.HandleParameter(record);
    csv.HandleGyro(quor::GyroRec{});  // another kind: no row
    ASSERT_TRUE(csv.Flush());
  }
  EXPECT_EQ(out.Text(),
            "valid,fieldMask,time,relTime,sensorIndex,sensorKind,deviceType,deviceId,name,offsetX,"
            "offsetY,offsetZ,mountAngle1,mountAngle2,mountAngle3,latencyMs,angleOffset1,"
            "angleOffset2,angleOffset3\n"
            "0,0,1970-01-01T00:00:00.000000Z,-2147483648,0,0,0,0,\"Port \"\"A\"\", aft\","
            "0,0,0,0,0,0,0,0,0,0\n"
            "0,0,1970-01-01T00:00:00.000000Z,-2147483648,0,0,0,0,plain,0,0,0,0,0,0,0,0,0,0\n");
}

TEST(XseDump, KindAndLimitSelectRecordsInJsonLinesAndCsv) {
  TempDir dir;
  const std::string path = dir.File("s.xse");
  ASSERT_EQ(RunXse({"gen", "--duration", "1", "--beams", "2", path}).status, 0);
  const auto result = RunXse({"dump", "--kind", "gyro", "--limit", "3", path});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(SplitLines(result.out), ::testing::ElementsAre(StartsWith("{\"kind\":\"gyro\","),
                                                             StartsWith("{\"kind\":\"gyro\","),
                                                             StartsWith("{\"kind\":\"gyro\",")));
  EXPECT_TRUE(result.out.ends_with("}\n"));
  // Several kinds, in the order they come: a parameter frame first.
  const auto kinds = RunXse({"dump", "--kind", "motion,parameter", "--limit", "20", path});
  std::vector<std::string> kindNames;
  for (const std::string& line : SplitLines(kinds.out))
    kindNames.push_back(line.substr(0, line.find(',')));
  const std::string parameter = "{\"kind\":\"parameter\"", motion = "{\"kind\":\"motion\"";
  ASSERT_EQ(kindNames.size(), 20u);
  const auto firstMotion = std::find(kindNames.begin(), kindNames.end(), motion);
  EXPECT_NE(firstMotion, kindNames.begin());
  EXPECT_TRUE(std::all_of(kindNames.begin(), firstMotion, [&](auto& k) { return k == parameter; }));
  EXPECT_TRUE(std::all_of(firstMotion, kindNames.end(), [&](auto& k) { return k == motion; }));
  const auto csv = RunXse({"dump", "--format", "csv", "--kind", "multibeam", "--limit", "2", path});
  EXPECT_EQ(csv.status, 0);
  EXPECT_EQ(std::count(csv.out.begin(), csv.out.end(), '\n'), 1 + 2 * 4) << "two pings of 4 beams";
}

}  // namespace
