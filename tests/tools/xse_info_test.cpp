// `xse info` as users run it: the summary of a tiny generated survey and of
// damaged data, exact but for the decode rate, in text and JSON.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/runtool.h"
#include "support/tempdir.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using namespace xsetest;

// The decode rate differs from run to run; everything else is exact.
std::string WithoutDecodeRate(const std::string& text) {
  static const std::regex textRate("  decode       [0-9.]+ s(, [0-9.]+ MiB/s)?\n");
  static const std::regex jsonRate(
      "\"decode\":\\{\"seconds\":[0-9.e-]+,\"bytesPerSecond\":([0-9.e+-]+|null)\\}");
  return std::regex_replace(std::regex_replace(text, textRate, "  decode       RATE\n"), jsonRate,
                            "\"decode\":RATE");
}

TEST(XseInfo, SummarisesATinyGeneratedSurveyInTextAndJson) {
  TempDir dir;
  const std::string path = dir.File("tiny.xse");
  EXPECT_EQ(RunXse({"gen", "--duration", "0.2", "--beams", "2", "--samples", "3", "--byte-order",
                    "mixed", "--seed", "5", path}),
            (ToolResult{0, path + ": 9 frames, 2600 bytes, 0.17 s of survey\n", ""}));
  const auto result = RunXse({"info", path});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.err, "") << "no progress bar when stderr is no terminal";
  EXPECT_EQ(WithoutDecodeRate(result.out),
            path +
                "\n"
                "  size         2600 bytes (2.5 KiB)\n"
                "  byte order   big-endian 6, little-endian 3\n"
                "  frames       9 decoded: 1 parameter, 4 navigation, 2 bathymetry, 2 sidescan\n"
                "  rejected     0 frames, 0 bytes skipped\n"
                "  groups       46 decoded\n"
                "  records      8 startTime, 16 parameter, 4 position, 6 gyro, 4 motion, "
                "2 multibeam, 2 sidescan\n"
                "  multibeam    2 pings, 4 beams per ping\n"
                "  sidescan     2 pings, 10 samples per ping\n"
                "  time         2024-05-01T08:00:00.000000Z to 2024-05-01T08:00:00.171000Z "
                "(0.171 s)\n"
                "  position     4 WGS84 fixes: latitude 54.354703\u00b0 N to 54.354713\u00b0 N, "
                "longitude 10.801843\u00b0 E to 10.801853\u00b0 E\n"
                "  parameters   XSE Draft, kind 8: 1\n"
                "               XSE Position, kind 6: 2\n"
                "               XSE MRU, kind 2: 2\n"
                "               XSE Heading, kind 5: 2\n"
                "               XSE Port Transducer, kind 16: 1\n"
                "               XSE Stbd Transducer, kind 17: 1 (0 valid)\n"
                "               RX_, kind 17: 1\n"
                "               (no name), kind 17: 2\n"
                "               (no name), kind 256: 1\n"
                "               (no name), kind 257: 1\n"
                "               (no name), kind 0: 1 (0 valid)\n"
                "               (no name), kind 16: 1\n"
                "  decode       RATE\n");

  // The text and the JSON lay out the same facts; the JSON is checked for
  // the form of each kind of value (counts, names, nulls, the last entry).
  const auto json = RunXse({"info", "--json", path});
  EXPECT_EQ(json.status, 0) << json.err;
  for (const std::string& part :
       {"{\"file\":\"" + path + "\",\"size\":2600,\"byteOrder\":{\"big\":6,\"little\":3},",
        std::string("\"frames\":{\"decoded\":9,\"parameter\":1,\"navigation\":4,"
                    "\"bathymetry\":2,\"sidescan\":2,\"rejected\":0},\"bytesSkipped\":0,"
                    "\"rejected\":{},\"groups\":{\"decoded\":46},"),
        std::string("\"projected\":{\"fixes\":0,\"firstMin\":null,"),
        std::string("{\"name\":\"RX_\",\"sensorKind\":17,\"records\":1,\"valid\":1},"),
        std::string("{\"name\":\"\",\"sensorKind\":16,\"records\":1,\"valid\":1}],"
                    "\"decode\":RATE}\n")})
    EXPECT_THAT(WithoutDecodeRate(json.out), ::testing::HasSubstr(part));
}

// Junk, a navigation frame with a projected fix, the same with a damaged end
// marker, a frame of another type and a frame cut short by the end of the
// file; given between files that cannot be opened, which are reported while
// the others are still summarised.
TEST(XseInfo, CountsRejectedFramesAndReportsUnreadableFilesBetweenTheOthers) {
  xsewriter::FrameWriter writer(std::endian::big);
  writer.BeginFrame(elac::kNavigationFrame, 3838320000u, 250000);
  xsewriter::PutPositionGroup(writer, "ED50", 3500000.5, 6000000.25, 0.0);
  const auto frame = writer.EndFrame();
  const std::vector<uint8_t> navigation(frame.begin(), frame.end());
  std::vector<uint8_t> damaged = navigation, cut = navigation, data(8, 0xEE);
  damaged.back() = 0;
  cut.resize(cut.size() - 5);
  writer.SetOrder(std::endian::little);
  writer.BeginFrame(7, 3838320010u, 0);
  const auto other = writer.EndFrame();
  for (const auto& part :
       {navigation, damaged, std::vector<uint8_t>(other.begin(), other.end()), cut})
    data.insert(data.end(), part.begin(), part.end());
  TempDir dir;
  const auto path = dir.Write("damaged.xse", data), empty = dir.Write("empty.xse", {});
  const std::string missing = dir.File("missing.xse");
  const auto result = RunXse({"info", missing, path, empty, path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "xse: cannot open " + missing + ": No such file or directory\n" +
                            "xse: cannot open " + empty + ": file is empty\n");
  const size_t skipped = 8 + damaged.size() + cut.size();
  const std::string summary =
      path + "\n" + "  size         " + std::to_string(data.size()) + " bytes\n" +
      "  byte order   big-endian 1, little-endian 1\n"
      "  frames       2 decoded: 1 navigation, 1 type 7\n"
      "  rejected     2 frames, " +
      std::to_string(skipped) + " bytes skipped; truncated: 1 frame at " +
      std::to_string(data.size() - cut.size()) + "; bad end marker: 1 frame at " +
      std::to_string(8 + navigation.size()) +
      "\n"
      "  groups       1 decoded\n"
      "  records      2 startTime, 0 parameter, 1 position, 0 gyro, 0 motion, "
      "0 multibeam, 0 sidescan\n"
      "  multibeam    none\n"
      "  sidescan     none\n"
      "  time         2022-08-19T00:00:00.250000Z to 2022-08-19T00:00:10.000000Z (9.750 s)\n"
      "  position     1 projected fixes: first 3500000.5 to 3500000.5, "
      "second 6000000.25 to 6000000.25\n"
      "  parameters   none\n"
      "  decode       RATE\n";
  EXPECT_EQ(WithoutDecodeRate(result.out), summary + "\n" + summary);
  const auto json = RunXse({"info", "--json", missing, path, empty, path});
  EXPECT_EQ(json.status, 1);
  EXPECT_EQ(json.err, result.err);
  EXPECT_THAT(SplitLines(json.out),
              ::testing::Each(::testing::AllOf(::testing::StartsWith("{\"file\":\""),
                                               ::testing::EndsWith("}"))));
  EXPECT_EQ(SplitLines(json.out).size(), 2u);
  EXPECT_NE(json.out.find("\"rejected\":{\"truncated\":{\"frames\":1,\"firstAt\":" +
                          std::to_string(data.size() - cut.size()) + "},\"badEndMarker\""),
            std::string::npos);
  EXPECT_TRUE(json.out.ends_with("\n"));
}

}  // namespace
