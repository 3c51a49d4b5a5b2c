// Generated surveys: the same options give the same bytes, every frame
// decodes, and the limits and byte orders do what they say.
#include "tools/xse/surveygenerator.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <numbers>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "tools/xse/recordjsonwriter.h"

namespace {

using xsetool::SurveyOptions;

struct Survey {
  std::string bytes;
  std::vector<size_t> frameSizes;
  std::array<uint64_t, 8> framesByType{};
  uint64_t bigEndianFrames = 0;
  double lastFrameSeconds = 0;
};

Survey Generate(const SurveyOptions& options) {
  xsetool::SurveyGenerator generator(options);
  Survey survey;
  for (auto frame = generator.NextFrame(); !frame.empty() && survey.frameSizes.size() < 1000000;
       frame = generator.NextFrame()) {
    survey.bytes.append(reinterpret_cast<const char*>(frame.data()), frame.size());
    survey.frameSizes.push_back(frame.size());
    const bool big = frame[0] == '$';
    const uint32_t type = elac::LoadScalar<uint32_t>(frame.data() + 8, big);
    ++survey.framesByType[type < 8 ? type : 0];
    if (big) ++survey.bigEndianFrames;
  }
  survey.lastFrameSeconds = generator.lastFrameSeconds();
  EXPECT_EQ(generator.framesMade(), survey.frameSizes.size());
  EXPECT_EQ(generator.bytesMade(), survey.bytes.size());
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

// Decoding of a generated survey as a whole is pinned by `xse info`'s test.
void Decode(const std::string& bytes, quor::ISurveyTarget& target) {
  std::istringstream stream(bytes);
  ElacReader reader(&target, ElacReader::kAllBeams);
  for (size_t i = 0; i < 100000 && stream.good(); ++i) reader.ReadFrame(stream);
}

TEST(SurveyGenerator, SameSeedGivesTheSameBytesAndAnotherSeedOthers) {
  const Survey first = Generate(Small(7));
  EXPECT_EQ(Generate(Small(7)).bytes, first.bytes);
  EXPECT_NE(Generate(Small(8)).bytes, first.bytes);
}

TEST(SurveyGenerator, StartsWithParametersThenInterleavesAtTheGivenRates) {
  SurveyOptions options = Small();
  options.navigationRateHz = 12.5;
  options.pingRateHz = 5;
  const Survey survey = Generate(options);
  EXPECT_EQ(survey.bytes[8 + 3], elac::kParameterFrame) << "big-endian type word of frame 0";
  EXPECT_EQ(survey.framesByType[elac::kParameterFrame], 1u);
  EXPECT_EQ(survey.framesByType[elac::kNavigationFrame], 25u);  // 0, 0.08, ... 1.92 s
  EXPECT_EQ(survey.framesByType[elac::kBathymetryFrame], 10u);
  EXPECT_EQ(survey.framesByType[elac::kSidescanFrame], 10u);
  EXPECT_LT(survey.lastFrameSeconds, 2.0);
  // Rates that are no positive number fall back to the defaults.
  options.navigationRateHz = 0;
  options.pingRateHz = std::numeric_limits<double>::quiet_NaN();
  EXPECT_EQ(Generate(options).bytes, Generate(Small()).bytes);
}

// Decodes `bytes` into the JSON-lines record stream of `xse dump`.
std::string RecordLines(const std::string& bytes) {
  char* buffer = nullptr;
  size_t size = 0;
  std::FILE* out = ::open_memstream(&buffer, &size);
  {
    xsetool::RecordJsonWriter writer(out);
    Decode(bytes, writer);
    writer.Flush();
  }
  std::fclose(out);
  std::string text(buffer, size);
  std::free(buffer);
  return text;
}

TEST(SurveyGenerator, ByteOrderChangesTheBytesButNotTheRecords) {
  SurveyOptions options = Small();
  options.durationSeconds = 1.0;
  std::vector<Survey> surveys;
  for (auto order : {xsetool::ByteOrderChoice::kBig, xsetool::ByteOrderChoice::kLittle,
                     xsetool::ByteOrderChoice::kMixed}) {
    options.byteOrder = order;
    surveys.push_back(Generate(options));
  }
  const size_t frames = surveys[0].frameSizes.size();
  EXPECT_EQ(surveys[0].bigEndianFrames, frames);
  EXPECT_EQ(surveys[1].bigEndianFrames, 0u);
  EXPECT_GT(surveys[2].bigEndianFrames, 0u);
  EXPECT_LT(surveys[2].bigEndianFrames, frames);
  EXPECT_NE(surveys[0].bytes, surveys[1].bytes);
  const std::string records = RecordLines(surveys[0].bytes);
  EXPECT_THAT(records, ::testing::HasSubstr("\"kind\":\"multibeam\""));
  EXPECT_EQ(RecordLines(surveys[1].bytes), records);
  EXPECT_EQ(RecordLines(surveys[2].bytes), records);
}

TEST(SurveyGenerator, SizeLimitStopsAtTheFirstFrameThatReachesIt) {
  SurveyOptions options = Small();
  options.durationSeconds.reset();
  options.sizeBytes = 200000;
  const Survey survey = Generate(options);
  EXPECT_GE(survey.bytes.size(), 200000u);
  EXPECT_LT(survey.bytes.size() - survey.frameSizes.back(), 200000u);
  options.sizeBytes = 1;
  EXPECT_EQ(Generate(options).frameSizes.size(), 1u) << "the parameter frame alone";
}

TEST(SurveyGenerator, PingsLookLikeASeafloorSeenFromTwoHeads) {
  // A ping across a smooth seafloor: depths near each other, across-track
  // distances from port (negative) to starboard, angles to match, the first
  // half of the beams from the port head.
  struct FirstPing final : quor::ISurveyTarget {
    void HandleMultibeam(const quor::MultibeamRec& record) override {
      if (!ping) ping = record;
    }
    std::optional<quor::MultibeamRec> ping;
  } target;
  Decode(Generate(Small(3)).bytes, target);
  ASSERT_TRUE(target.ping);
  const quor::MultibeamRec& ping = *target.ping;
  ASSERT_EQ(ping.beamCount, 32u);
  EXPECT_EQ(ping.pingNumber, 1);
  EXPECT_GT(ping.soundVelocity, 1400.0);
  EXPECT_LT(ping.soundVelocity, 1550.0);
  for (uint32_t beam = 0; beam < 32; ++beam) {
    EXPECT_GT(ping.depth[beam], 20.0f);
    EXPECT_LT(ping.depth[beam], 90.0f);
    EXPECT_LE(ping.quality[beam], 15u);
    EXPECT_NEAR(ping.acrossTrack[beam],
                ping.depth[beam] * std::tan(ping.acrossAngle[beam] * std::numbers::pi / 180.0),
                0.01);
    if (beam > 0 && beam != 16) {
      EXPECT_GT(ping.acrossAngle[beam], ping.acrossAngle[beam - 1]);
    }
  }
  EXPECT_LT(ping.acrossTrack[0], -50.0f) << "port head's outer beam";
  EXPECT_GT(ping.acrossTrack[31], 50.0f) << "starboard head's outer beam";
}

}  // namespace
