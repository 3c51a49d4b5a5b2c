#include "interpreters/surveyreaderlib/elacreader/beamdecoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include "grouptestsupport.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "support/recordingtarget.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using quor::MultibeamRec;
using ::testing::ElementsAre;
using ::testing::FloatEq;
using ::testing::FloatNear;
using xsetest::RecordingTarget;
using xsewriter::FrameWriter;

using GroupWriter = std::function<void(FrameWriter&)>;

std::vector<float> Floats(const std::unique_ptr<float[]>& array, uint32_t count) {
  return {array.get(), array.get() + count};
}

void PutValues(FrameWriter& writer, xsewriter::BeamGroupType type, std::vector<double> values) {
  xsewriter::PutBeamValuesGroup(writer, type, values);
}

// Decodes one bathymetry frame and returns the ping it delivered, if any.
const MultibeamRec* DecodePing(RecordingTarget& target, ElacReader& reader, bool bigEndian,
                               const GroupWriter& groups) {
  EXPECT_TRUE(
      reader.DecodeFrameBytes(xsetest::WriteFrame(bigEndian, elac::kBathymetryFrame, groups)));
  return target.Nth<MultibeamRec>(target.Count<MultibeamRec>() - 1);
}

class BeamFrameTest : public ::testing::TestWithParam<bool> {
 protected:
  RecordingTarget target;
  ElacReader reader{&target, ElacReader::kAllBeams};
};

TEST_P(BeamFrameTest, DistancesAndDepthsCompleteAPingInReversedBeamOrder) {
  const auto* ping = DecodePing(target, reader, GetParam(), [](FrameWriter& w) {
    xsewriter::PutBeamCountGroup(w, 4);
    PutValues(w, xsewriter::kAcrossTrackGroup, {1, 2, 3, 4});
    PutValues(w, xsewriter::kAlongTrackGroup, {1, 2, 3, 4});
    PutValues(w, xsewriter::kDepthGroup, {1, 2, 3, 4});
  });
  ASSERT_NE(ping, nullptr);
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime", "multibeam"));
  EXPECT_EQ(ping->valid, 1);
  EXPECT_EQ(ping->fieldMask, 0x5C0u);
  EXPECT_EQ(ping->beamCount, 4u);
  EXPECT_EQ(ping->arrayMask, elac::kBeamArrayMask);
  EXPECT_THAT(Floats(ping->acrossTrack, 4), ElementsAre(-4, -3, -2, -1));
  EXPECT_THAT(Floats(ping->alongTrack, 4), ElementsAre(4, 3, 2, 1));
  EXPECT_THAT(Floats(ping->depth, 4), ElementsAre(4, 3, 2, 1));
}

TEST_P(BeamFrameTest, RawGeometryIsConvertedToOneWayTimesAndDegrees) {
  const auto* ping = DecodePing(target, reader, GetParam(), [](FrameWriter& w) {
    xsewriter::PutPingNumberGroup(w, 77);
    PutValues(w, xsewriter::kTravelTimeGroup, {0.1, 0.3});
    PutValues(w, xsewriter::kAcrossAngleGroup, {0.5, -0.25});
    PutValues(w, xsewriter::kAlongAngleGroup, {0.5, 0.0});
    const uint8_t codes[] = {1, 16};
    xsewriter::PutQualityGroup(w, codes);
  });
  ASSERT_NE(ping, nullptr);
  EXPECT_EQ(ping->pingNumber, 77);
  EXPECT_EQ(ping->fieldMask, 0x400u | 0x2 | 0x8 | 0x10 | 0x20 | 0x800 | 0x200);
  EXPECT_THAT(Floats(ping->travelTime, 2), ElementsAre(FloatEq(0.15f), FloatEq(0.05f)));
  EXPECT_THAT(Floats(ping->acrossAngle, 2),
              ElementsAre(FloatNear(14.3239f, 1e-4f), FloatNear(-28.6479f, 1e-4f)));
  EXPECT_THAT(Floats(ping->alongAngle, 2), ElementsAre(0.0f, FloatNear(28.6479f, 1e-4f)));
  EXPECT_THAT(std::vector<uint8_t>(ping->quality.get(), ping->quality.get() + 2),
              ElementsAre(0, 15));
}

INSTANTIATE_TEST_SUITE_P(BothByteOrders, BeamFrameTest, ::testing::Bool(),
                         [](const auto& p) { return p.param ? "Big" : "Little"; });

TEST(BeamDecoder, QualityIsSixteenLessTheCodeForCodesOneToFifteen) {
  const std::vector<uint8_t> codes = {0, 1, 2, 15, 16, 255};
  const auto body =
      xsetest::WriteGroupBody(false, [&](FrameWriter& w) { xsewriter::PutQualityGroup(w, codes); });
  MultibeamRec ping;
  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(body, false), ping));
  EXPECT_THAT(std::vector<uint8_t>(ping.quality.get(), ping.quality.get() + 6),
              ElementsAre(0, 0, 1, 14, 15, 0));
}

struct CompletionCase {
  const char* name;
  std::vector<uint32_t> groupTypes;
  bool delivered;
};

class PingCompletionTest : public ::testing::TestWithParam<CompletionCase> {};

TEST_P(PingCompletionTest, APingIsDeliveredOnlyWithOneCompleteSetOfArrays) {
  RecordingTarget target;
  ElacReader reader(&target, ElacReader::kAllBeams);
  const auto& types = GetParam().groupTypes;
  const auto* ping = DecodePing(target, reader, true, [&types](FrameWriter& w) {
    for (uint32_t type : types) {
      if (type == elac::kQualityGroup) {
        const uint8_t codes[] = {3, 4};
        xsewriter::PutQualityGroup(w, codes);
      } else if (type == elac::kPingNumberGroup) {
        xsewriter::PutPingNumberGroup(w, 1);
      } else if (type == 19) {
        xsewriter::PutPingHeadingGroup(w, 0.5);
      } else {
        PutValues(w, static_cast<xsewriter::BeamGroupType>(type), {1.0, 2.0});
      }
    }
  });
  EXPECT_EQ(ping != nullptr, GetParam().delivered);
}

INSTANTIATE_TEST_SUITE_P(GroupSets, PingCompletionTest,
                         ::testing::Values(CompletionCase{"Soundings", {7, 8, 9}, true},
                                           CompletionCase{"RawGeometry", {3, 10, 4}, true},
                                           CompletionCase{"RawWithoutQuality", {3, 10, 13}, false},
                                           CompletionCase{"DepthsAndAcrossOnly", {9, 7, 1}, false},
                                           CompletionCase{
                                               "HeadingAsLastGroup", {9, 7, 8, 19}, true},
                                           CompletionCase{"HeadingOnly", {19}, false}),
                         [](const auto& p) { return p.param.name; });

struct SoundVelocityCase {
  const char* name;
  std::vector<xsewriter::SoundVelocityEntry> entries;
  double expected;
  bool measured;
};

class SoundVelocityTest : public ::testing::TestWithParam<SoundVelocityCase> {};

TEST_P(SoundVelocityTest, TakesTheLastPlausibleEntryOfIdentifierZero) {
  const auto& entries = GetParam().entries;
  const auto body = xsetest::WriteGroupBody(
      true, [&entries](FrameWriter& w) { xsewriter::PutSoundVelocityGroup(w, entries); });
  MultibeamRec ping;
  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(body), ping));
  EXPECT_EQ(ping.soundVelocity, GetParam().expected);
  EXPECT_EQ((ping.fieldMask & MultibeamRec::kSoundVelocity) != 0, GetParam().measured);
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    Lists, SoundVelocityTest,
    ::testing::Values(
        SoundVelocityCase{"OtherIdentifierIgnored", {{0, 1479.5}, {3, 1490.0}}, 1479.5, true},
        SoundVelocityCase{"OutOfRangeIgnored", {{0, 1600.0}}, 1500.0, false},
        SoundVelocityCase{"BoundsExcluded", {{0, 1380.0}, {0, 1580.0}}, 1500.0, false},
        SoundVelocityCase{"LastWins", {{0, 1450.0}, {0, 1460.5}, {0, 2000.0}}, 1460.5, true},
        SoundVelocityCase{"NaNIgnored", {{0, 1450.0}, {0, kNaN}}, 1450.0, true},
        SoundVelocityCase{"Empty", {}, 1500.0, false}),
    [](const auto& p) { return p.param.name; });

std::vector<uint8_t> DepthGroup(uint32_t beams) {
  return xsetest::WriteGroupBody(true, [beams](FrameWriter& w) {
    PutValues(w, xsewriter::kDepthGroup, std::vector<double>(beams, 1.0));
  });
}

TEST(BeamDecoder, ArraysAreReusedForSmallerPingsAndReallocatedForLargerOnes) {
  MultibeamRec ping;
  EXPECT_EQ(ping.arrayMask, MultibeamRec::kDefaultArrayMask);
  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(DepthGroup(500)), ping));
  EXPECT_EQ(ping.arrayMask, 0x143F8u);
  EXPECT_NE(ping.extraFloats, nullptr);
  EXPECT_NE(ping.extraBytes, nullptr);
  EXPECT_EQ(ping.extraShorts, nullptr);
  const float* depth = ping.depth.get();

  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(DepthGroup(400)), ping));
  EXPECT_EQ(ping.beamCapacity, 500u);
  EXPECT_EQ(ping.beamCount, 400u);
  EXPECT_EQ(ping.depth.get(), depth);

  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(DepthGroup(600)), ping));
  EXPECT_EQ(ping.beamCapacity, 600u);
  EXPECT_EQ(ping.beamCount, 600u);

  // Another array set is replaced even when its capacity would do.
  ping.Reallocate(MultibeamRec::kDefaultArrayMask, 600);
  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(DepthGroup(10)), ping));
  EXPECT_EQ(ping.arrayMask, 0x143F8u);
  EXPECT_EQ(ping.beamCapacity, 10u);
  EXPECT_NE(ping.quality, nullptr);
}

TEST(BeamDecoder, EverySizedGroupClearsValidBeforeTheCompletionTest) {
  MultibeamRec ping;
  ping.valid = 1;
  const auto count =
      xsetest::WriteGroupBody(true, [](FrameWriter& w) { xsewriter::PutBeamCountGroup(w, 3); });
  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(count), ping));
  EXPECT_EQ(ping.valid, 0);
  // The ping number group leaves valid as it is.
  ping.valid = 1;
  const auto number =
      xsetest::WriteGroupBody(true, [](FrameWriter& w) { xsewriter::PutPingNumberGroup(w, 5); });
  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(number), ping));
  EXPECT_EQ(ping.valid, 1);
}

struct RejectedCase {
  const char* name;
  GroupWriter write;
};

class RejectedBeamGroupTest : public ::testing::TestWithParam<RejectedCase> {};

TEST_P(RejectedBeamGroupTest, IsDroppedWholeAndLeavesThePingAlone) {
  const auto body = xsetest::WriteGroupBody(true, GetParam().write);
  MultibeamRec ping;
  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(DepthGroup(4)), ping));
  ping.valid = 1;
  const float* depth = ping.depth.get();
  EXPECT_FALSE(elac::DecodeBeamGroup(xsetest::Cursor(body), ping));
  EXPECT_EQ(ping.valid, 1);
  EXPECT_EQ(ping.fieldMask, MultibeamRec::kDepth);
  EXPECT_EQ(ping.beamCapacity, 4u);
  EXPECT_EQ(ping.beamCount, 4u);
  EXPECT_EQ(ping.depth.get(), depth);
  EXPECT_EQ(ping.soundVelocity, 1500.0);
}

// A value group whose declared count differs from the values it holds.
GroupWriter Declaring(uint32_t type, int32_t count, size_t valueBytes) {
  return [=](FrameWriter& w) {
    w.BeginGroup(type);
    w.PutI32(count);
    for (size_t i = 0; i < valueBytes; ++i) w.PutU8(0);
    w.EndGroup();
  };
}

INSTANTIATE_TEST_SUITE_P(
    Damaged, RejectedBeamGroupTest,
    ::testing::Values(
        RejectedCase{"TypeOnly", [](FrameWriter& w) { xsetest::PutZeroGroup(w, 1, 0); }},
        RejectedCase{"NotABeamGroup5", [](FrameWriter& w) { xsetest::PutZeroGroup(w, 5, 8); }},
        RejectedCase{"NotABeamGroup21", [](FrameWriter& w) { xsetest::PutZeroGroup(w, 21, 8); }},
        RejectedCase{"NegativeCount", Declaring(elac::kDepthGroup, -1, 8)},
        RejectedCase{"NegativeBeamCount", Declaring(elac::kBeamCountGroup, -4, 0)},
        RejectedCase{"DepthsPastTheGroup", Declaring(elac::kDepthGroup, 5, 32)},
        RejectedCase{"QualitiesPastTheGroup", Declaring(elac::kQualityGroup, 5, 4)},
        RejectedCase{
            "BeamCountAboveLimit",
            Declaring(elac::kBeamCountGroup, static_cast<int32_t>(elac::kMaxBeams + 1), 0)},
        RejectedCase{"HugeBeamCount", Declaring(elac::kBeamCountGroup, INT32_MAX, 0)},
        RejectedCase{"SoundVelocitiesPastTheGroup",
                     [](FrameWriter& w) {
                       w.BeginGroup(elac::kSoundVelocityGroup);
                       w.PutU32(2);
                       w.PutU16(0);
                       w.PutF64(1490.0);
                       w.EndGroup();
                     }},
        RejectedCase{"SoundVelocityCountOverflows",
                     [](FrameWriter& w) {
                       w.BeginGroup(elac::kSoundVelocityGroup);
                       w.PutU32(0xFFFFFFFF);
                       w.EndGroup();
                     }}),
    [](const auto& p) { return p.param.name; });

TEST(BeamDecoder, BeamCountAtTheLimitIsAccepted) {
  const auto body = xsetest::WriteGroupBody(true, [](FrameWriter& w) {
    xsewriter::PutBeamCountGroup(w, static_cast<int32_t>(elac::kMaxBeams));
  });
  MultibeamRec ping;
  ASSERT_TRUE(elac::DecodeBeamGroup(xsetest::Cursor(body), ping));
  EXPECT_EQ(ping.beamCapacity, elac::kMaxBeams);
}

TEST(BeamDecoder, DamagedLastGroupDoesNotCostACompletePing) {
  RecordingTarget target;
  ElacReader reader(&target, ElacReader::kAllBeams);
  const auto* ping = DecodePing(target, reader, false, [](FrameWriter& w) {
    PutValues(w, xsewriter::kAcrossTrackGroup, {1, 2});
    PutValues(w, xsewriter::kAlongTrackGroup, {1, 2});
    PutValues(w, xsewriter::kDepthGroup, {1, 2});
    Declaring(elac::kDepthGroup, 9, 16)(w);
  });
  ASSERT_NE(ping, nullptr);
  EXPECT_THAT(Floats(ping->depth, ping->beamCount), ElementsAre(2, 1));
}

struct HeadCase {
  int32_t mode;
  std::vector<float> delivered;  // former indices of a 7-beam ping
};

class HeadSelectionTest : public ::testing::TestWithParam<HeadCase> {};

TEST_P(HeadSelectionTest, ModeChoosesWhichHalfOfThePingIsDelivered) {
  RecordingTarget target;
  ElacReader reader(&target, GetParam().mode);
  // Wire values 6..0 land at indices 0..6, so each value names its index.
  const std::vector<double> values = {6, 5, 4, 3, 2, 1, 0};
  const auto* ping = DecodePing(target, reader, true, [&](FrameWriter& w) {
    for (auto type :
         {xsewriter::kTravelTimeGroup, xsewriter::kAcrossAngleGroup, xsewriter::kAlongAngleGroup,
          xsewriter::kAcrossTrackGroup, xsewriter::kAlongTrackGroup, xsewriter::kDepthGroup})
      PutValues(w, type, values);
    const uint8_t codes[] = {10, 11, 12, 13, 14, 15, 0};  // qualities 6..0
    xsewriter::PutQualityGroup(w, codes);
  });
  ASSERT_NE(ping, nullptr);
  const auto& expected = GetParam().delivered;
  ASSERT_EQ(ping->beamCount, expected.size());
  for (uint32_t i = 0; i < ping->beamCount; ++i) {
    EXPECT_FLOAT_EQ(ping->travelTime[i], 0.5f * expected[i]);
    EXPECT_FLOAT_EQ(ping->acrossAngle[i], static_cast<float>(expected[i] * -57.29577951308232));
    EXPECT_FLOAT_EQ(ping->alongAngle[i], static_cast<float>(expected[i] * 57.29577951308232));
    EXPECT_EQ(ping->acrossTrack[i], -expected[i]);
    EXPECT_EQ(ping->alongTrack[i], expected[i]);
    EXPECT_EQ(ping->depth[i], expected[i]);
    EXPECT_EQ(static_cast<float>(ping->quality[i]), expected[i]);
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, HeadSelectionTest,
                         ::testing::Values(HeadCase{0, {0, 1, 2, 3, 4, 5, 6}},
                                           HeadCase{1, {0, 1, 2}}, HeadCase{2, {3, 4, 5}},
                                           HeadCase{7, {0, 1, 2, 3, 4, 5, 6}}),
                         [](const auto& p) { return "Mode" + std::to_string(p.param.mode); });

TEST(BeamDecoder, SecondHeadLeavesTheExtraArraysInPlace) {
  MultibeamRec ping;
  ping.Reallocate(elac::kBeamArrayMask, 4);
  for (uint32_t i = 0; i < 4; ++i) {
    ping.depth[i] = static_cast<float>(i);
    ping.extraFloats[i] = static_cast<float>(i);
    ping.extraBytes[i] = static_cast<uint8_t>(i);
  }
  elac::ApplyHeadSelection(ping, ElacReader::kSecondHead);
  EXPECT_EQ(ping.beamCount, 2u);
  EXPECT_THAT(Floats(ping.depth, 2), ElementsAre(2, 3));
  EXPECT_THAT(Floats(ping.extraFloats, 2), ElementsAre(0, 1));
  EXPECT_EQ(ping.extraBytes[0], 0);
}

}  // namespace
