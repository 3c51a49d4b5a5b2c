#include "interpreters/surveyreaderlib/elacreader/beamdecoder.h"

#include <gtest/gtest.h>

#include <limits>
#include <utility>

#include "grouptestsupport.h"

namespace {

using quor::MultibeamRec;
using xsetest::Group;
using xsetest::GroupWriter;
using xsetest::Put;
using Groups = std::vector<GroupWriter>;

GroupWriter Values(xsewriter::BeamGroupType type, std::vector<double> values) {
  return Put(xsewriter::PutBeamValuesGroup, type, values);
}

GroupWriter Qualities(std::vector<uint8_t> codes) { return Put(xsewriter::PutQualityGroup, codes); }

bool Decode(const GroupWriter& write, MultibeamRec& ping) {
  return xsetest::DecodeGroup(elac::DecodeBeamGroup, write, ping);
}

// The pings that one bathymetry frame of `groups` delivered.
xsetest::RecordingTarget PingsOf(const Groups& groups, int32_t mode = 0,
                                 std::endian order = std::endian::big) {
  return xsetest::DecodeFrames({xsetest::FrameOf(order, elac::kBathymetryFrame, groups)}, mode);
}

struct HeadCase {
  int32_t mode;
  std::endian order;
  std::vector<float> delivered;  // former indices of a 7-beam ping
};

class BeamFrameTest : public ::testing::TestWithParam<HeadCase> {};

TEST_P(BeamFrameTest, ValuesAreConvertedAndReversedAndTheModeChoosesTheHalf) {
  // Wire values 6..0 land at indices 0..6, so each value names its index.
  const std::vector<double> values = {6, 5, 4, 3, 2, 1, 0};
  Groups groups = {Put(xsewriter::PutPingNumberGroup, 77u),
                   Qualities({10, 11, 12, 13, 14, 15, 0})};  // qualities 6..0
  using enum xsewriter::BeamGroupType;
  for (auto type : {kTravelTimeGroup, kAcrossAngleGroup, kAlongAngleGroup, kAcrossTrackGroup,
                    kAlongTrackGroup, kDepthGroup})
    groups.push_back(Values(type, values));
  const auto target = PingsOf(groups, GetParam().mode, GetParam().order);
  ASSERT_EQ(target.Count<MultibeamRec>(), 1u);
  const auto& ping = *target.Nth<MultibeamRec>();
  EXPECT_EQ(ping.pingNumber, 77);
  EXPECT_EQ(ping.fieldMask, 0xFFAu);
  EXPECT_EQ(ping.arrayMask, elac::kBeamArrayMask);
  const auto& expected = GetParam().delivered;
  ASSERT_EQ(ping.beamCount, expected.size());
  // Depth and the track distances of one head are pinned by `xse dump`.
  for (uint32_t i = 0; i < ping.beamCount; ++i) {
    EXPECT_FLOAT_EQ(ping.travelTime[i], 0.5f * expected[i]);  // two-way in, one-way out
    EXPECT_FLOAT_EQ(ping.acrossAngle[i], static_cast<float>(expected[i] * -57.29577951308232));
    EXPECT_FLOAT_EQ(ping.alongAngle[i], static_cast<float>(expected[i] * 57.29577951308232));
    EXPECT_EQ(ping.depth[i], expected[i]);
    EXPECT_EQ(static_cast<float>(ping.quality[i]), expected[i]);
  }
}

INSTANTIATE_TEST_SUITE_P(Modes, BeamFrameTest,
                         ::testing::Values(HeadCase{0, std::endian::little, {0, 1, 2, 3, 4, 5, 6}},
                                           HeadCase{1, std::endian::big, {0, 1, 2}},
                                           HeadCase{2, std::endian::little, {3, 4, 5}},
                                           HeadCase{7, std::endian::big, {0, 1, 2, 3, 4, 5, 6}}));

TEST(BeamDecoder, APingIsDeliveredOnlyWithOneCompleteSetOfArrays) {
  using enum xsewriter::BeamGroupType;
  const auto v = [](xsewriter::BeamGroupType type) { return Values(type, {1, 2}); };
  const std::pair<Groups, size_t> kCases[] = {
      {{v(kAcrossTrackGroup), v(kAlongTrackGroup), v(kDepthGroup)}, 1},
      {{v(kTravelTimeGroup), v(kAcrossAngleGroup), Qualities({3, 4})}, 1},
      {{v(kTravelTimeGroup), v(kAcrossAngleGroup), v(kAlongAngleGroup)}, 0},
      {{v(kDepthGroup), v(kAcrossTrackGroup)}, 0},
      {{Put(xsewriter::PutPingHeadingGroup, 0.5)}, 0},
      // A damaged last group does not cost a complete ping.
      {{v(kAcrossTrackGroup), v(kAlongTrackGroup), v(kDepthGroup), Group(9, {9}, 16)}, 1}};
  int row = 0;
  for (const auto& [groups, pings] : kCases)
    EXPECT_EQ(PingsOf(groups).Count<MultibeamRec>(), pings) << row++;
}

TEST(BeamDecoder, SoundVelocityIsTheLastPlausibleEntryOfIdentifierZero) {
  using Velocities = std::vector<xsewriter::SoundVelocityEntry>;
  const std::pair<Velocities, double> kCases[] = {
      {{{0, 1479.5}, {3, 1490.0}}, 1479.5},
      {{{0, 1380.0}, {0, 1580.0}}, 1500.0},  // bounds excluded
      {{{0, 1450.0}, {0, 1460.5}, {0, 2000.0}}, 1460.5},
      {{{0, 1450.0}, {0, std::numeric_limits<double>::quiet_NaN()}}, 1450.0},
      {{}, 1500.0}};
  for (const auto& [entries, velocity] : kCases) {
    MultibeamRec ping;
    ASSERT_TRUE(Decode(Put(xsewriter::PutSoundVelocityGroup, entries), ping));
    EXPECT_EQ(ping.soundVelocity, velocity);
    // Every list here that sets a velocity sets one other than the default.
    EXPECT_EQ((ping.fieldMask & MultibeamRec::kSoundVelocity) != 0, velocity != 1500.0);
  }
}

TEST(BeamDecoder, DamagedGroupIsDroppedWholeAndLeavesThePingAlone) {
  const GroupWriter kDamaged[] = {Group(1, {}), Group(5, {}, 8),        // no beam group
                                  Group(9, {0xFFFFFFFF}, 8),            // negative count
                                  Group(9, {5}, 32), Group(4, {5}, 4),  // values past it
                                  Group(2, {elac::kMaxBeams + 1}),
                                  // One velocity entry of two: (0, 1490.0).
                                  Group(20, {2, 0x4097, 0x48000000}, 2), Group(20, {0xFFFFFFFF})};
  int row = 0;
  for (const auto& damaged : kDamaged) {
    SCOPED_TRACE(row++);
    MultibeamRec ping;
    ASSERT_TRUE(Decode(Values(xsewriter::kDepthGroup, {1, 2, 3, 4}), ping));
    const float* depth = ping.depth.get();
    EXPECT_FALSE(Decode(damaged, ping));
    EXPECT_EQ(ping.fieldMask, MultibeamRec::kDepth);
    EXPECT_EQ(ping.beamCount, 4u);
    EXPECT_EQ(ping.depth.get(), depth);
    EXPECT_EQ(ping.soundVelocity, 1500.0);
  }
  MultibeamRec ping;
  ASSERT_TRUE(Decode(Group(2, {elac::kMaxBeams}), ping)) << "a count at the limit is accepted";
  EXPECT_EQ(ping.beamCapacity, elac::kMaxBeams);
}

}  // namespace
