// Generated surveys: the same options give the same bytes, every frame
// decodes, and the limits and byte orders do what they say, also as `xse gen`
// takes them from its command line. The counts the generator reports are
// pinned by `xse info`'s test of `xse gen`'s summary.
#include "tools/generator/surveygenerator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <numbers>
#include <sstream>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/capturedoutput.h"
#include "support/recordingtarget.h"
#include "support/runtool.h"
#include "support/tempdir.h"
#include "tools/xse/recordjsonwriter.h"

namespace {

using xsetool::SurveyOptions;

struct Survey {
  std::string bytes;
  size_t frames = 0, lastFrameSize = 0, bigEndianFrames = 0;
  std::array<uint64_t, 8> framesByType{};
};

Survey Generate(const SurveyOptions& options) {
  xsetool::SurveyGenerator generator(options);
  Survey survey;
  for (auto frame = generator.NextFrame(); !frame.empty() && survey.frames < 1000000;
       frame = generator.NextFrame(), ++survey.frames) {
    survey.bytes.append(reinterpret_cast<const char*>(frame.data()), frame.size());
    survey.lastFrameSize = frame.size();
    const bool big = frame[0] == '$';
    const uint32_t type =
        elac::LoadScalar<uint32_t>(frame.data() + 8, big ? std::endian::big : std::endian::little);
    ++survey.framesByType[type < 8 ? type : 0];
    survey.bigEndianFrames += big ? 1 : 0;
  }
  return survey;
}

SurveyOptions Small(uint64_t seed = 1) {
  SurveyOptions options;
  options.seed = seed;
  options.durationSeconds = 2.0;
  options.beamsPerHead = 16;
  options.sidescanSamplesPerSide = 50;
  return options;
}

void Decode(const std::string& bytes, quor::ISurveyTarget& target) {
  std::istringstream stream(bytes);
  ElacReader reader(&target, ElacReader::kAllBeams);
  for (size_t i = 0; i < 100000 && stream.good(); ++i) reader.ReadFrame(stream);
}

TEST(SurveyGenerator, IsRepeatableAndStartsWithParametersThenFramesAtTheGivenRatesUntilALimit) {
  SurveyOptions options = Small();
  options.navigationRateHz = 12.5;
  options.pingRateHz = 5;
  const Survey survey = Generate(options);
  EXPECT_EQ(survey.bytes[8 + 3], elac::kParameterFrame) << "big-endian type word of frame 0";
  EXPECT_EQ(survey.framesByType[elac::kParameterFrame], 1u);
  EXPECT_EQ(survey.framesByType[elac::kNavigationFrame], 25u);  // 0, 0.08, ... 1.92 s
  EXPECT_EQ(survey.framesByType[elac::kBathymetryFrame], 10u);
  EXPECT_EQ(survey.framesByType[elac::kSidescanFrame], 10u);
  // Rates that are no positive number fall back to the defaults; the same
  // options give the same bytes, another seed others.
  options.navigationRateHz = 0;
  options.pingRateHz = std::numeric_limits<double>::quiet_NaN();
  const std::string bytes = Generate(options).bytes;
  EXPECT_EQ(bytes, Generate(Small()).bytes);
  EXPECT_NE(bytes, Generate(Small(2)).bytes);
  // A size limit stops at the first frame that reaches it.
  options.durationSeconds.reset();
  options.sizeBytes = 200000;
  const Survey sized = Generate(options);
  EXPECT_GE(sized.bytes.size(), 200000u);
  EXPECT_LT(sized.bytes.size() - sized.lastFrameSize, 200000u);
  options.sizeBytes = 1;
  EXPECT_EQ(Generate(options).frames, 1u) << "the parameter frame alone";
}

TEST(SurveyGenerator, ByteOrderChangesTheBytesButNotTheRecords) {
  // The mixed order's share of big-endian frames is pinned by `xse info`.
  SurveyOptions options = Small();
  options.durationSeconds = 1.0;
  std::string bigRecords;
  using enum xsetool::ByteOrderChoice;
  for (auto order : {kBig, kLittle, kMixed}) {
    options.byteOrder = order;
    const Survey survey = Generate(options);
    if (order != kMixed) {
      EXPECT_EQ(survey.bigEndianFrames, order == kBig ? survey.frames : 0u);
    }
    xsetest::CapturedOutput out;
    xsetool::RecordJsonWriter writer(out.file());
    Decode(survey.bytes, writer);
    writer.Flush();
    if (order == kBig) bigRecords = out.Text();
    EXPECT_EQ(out.Text(), bigRecords) << static_cast<int>(order);
  }
  EXPECT_THAT(bigRecords, ::testing::HasSubstr("\"kind\":\"multibeam\""));
}

TEST(SurveyGenerator, PingsLookLikeASeafloorSeenFromTwoHeads) {
  // Depths of a smooth seafloor, across-track distances from port (negative)
  // to starboard with angles to match, the first half of the beams from the
  // port head.
  xsetest::RecordingTarget target;
  Decode(Generate(Small(3)).bytes, target);
  const quor::MultibeamRec* ping = target.Nth<quor::MultibeamRec>();
  ASSERT_NE(ping, nullptr);
  ASSERT_EQ(ping->beamCount, 32u);
  EXPECT_EQ(ping->pingNumber, 1);
  for (uint32_t beam = 0; beam < 32; ++beam) {
    EXPECT_GT(ping->depth[beam], 20.0f);
    EXPECT_LT(ping->depth[beam], 90.0f);
    EXPECT_NEAR(ping->acrossTrack[beam],
                ping->depth[beam] * std::tan(ping->acrossAngle[beam] * std::numbers::pi / 180.0),
                0.01);
    if (beam > 0 && beam != 16) {
      EXPECT_GT(ping->acrossAngle[beam], ping->acrossAngle[beam - 1]);
    }
  }
  EXPECT_LT(ping->acrossTrack[0], -50.0f) << "port head's outer beam";
  EXPECT_GT(ping->acrossTrack[31], 50.0f) << "starboard head's outer beam";
}

TEST(XseGen, SizeAndByteOrderShapeTheFile) {
  xsetest::TempDir dir;
  const std::string path = dir.File("s.xse");
  const auto result =
      xsetest::RunXse({"gen", "--size", "64K", "--beams", "4", "--byte-order", "little", path});
  EXPECT_EQ(result.status, 0) << result.err;
  const auto size = std::filesystem::file_size(path);
  EXPECT_GE(size, 65536u);
  EXPECT_LT(size, 65536u + 4096u);
  const std::string bytes = xsetest::ReadWholeFile(path);
  EXPECT_EQ(bytes.substr(0, 4), "FSH$");
  EXPECT_EQ(bytes.find("$HSF"), std::string::npos);
}

}  // namespace
