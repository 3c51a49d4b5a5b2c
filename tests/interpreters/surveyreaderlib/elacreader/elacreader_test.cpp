#include "interpreters/surveyreaderlib/elacreader/elacreader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <numbers>
#include <string>
#include <tuple>
#include <utility>

#include "grouptestsupport.h"

namespace {

using ::testing::ElementsAre;
using xsetest::Bytes;
using xsetest::GroupWriter;
using xsetest::kFrameSeconds;
using xsetest::kUnixSeconds;
using xsetest::RecordingTarget;
using xsewriter::FrameWriter;

Bytes FromHex(const std::string& hex) {
  Bytes bytes;
  std::istringstream in(hex);
  unsigned value = 0;
  while (in >> std::hex >> value) bytes.push_back(static_cast<uint8_t>(value));
  return bytes;
}

// The 52-byte navigation frame with one heading group of pi/2, both orders.
const Bytes kBigEndianHeadingFrame = FromHex(
    "24 48 53 46 00 00 00 28 00 00 00 01 00 00 00 00 E4 C8 1D 80 00 00 00 00 24 48 53 47 "
    "00 00 00 0C 00 00 00 0B 3F F9 21 FB 54 44 2D 18 23 48 53 47 23 48 53 46");
const Bytes kLittleEndianHeadingFrame = FromHex(
    "46 53 48 24 28 00 00 00 01 00 00 00 00 00 00 00 80 1D C8 E4 00 00 00 00 47 53 48 24 "
    "0C 00 00 00 0B 00 00 00 18 2D 44 54 FB 21 F9 3F 47 53 48 23 46 53 48 23");

class HeadingFrameTest : public ::testing::TestWithParam<bool> {};

TEST_P(HeadingFrameTest, DeliversStartTimeThenHeadingAndReadsUpToTheEndMarker) {
  const auto& frame = GetParam() ? kBigEndianHeadingFrame : kLittleEndianHeadingFrame;
  ASSERT_EQ(frame.size(), 52u);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  auto stream = xsetest::StreamOf(frame);
  ASSERT_TRUE(reader.ReadFrame(stream));
  EXPECT_EQ(stream.tellg(), 48);
  EXPECT_EQ(reader.bigEndian(), GetParam());
  ASSERT_THAT(target.Kinds(), ElementsAre("startTime", "gyro"));
  EXPECT_EQ(std::get<quor::timeval>(target.calls[0]), (quor::timeval{kUnixSeconds, 0}));
  const auto* gyro = target.Nth<quor::GyroRec>();
  EXPECT_EQ(gyro->heading, 90.0);
  EXPECT_EQ(gyro->sensorIndex, 0);
  EXPECT_EQ(gyro->valid, 1);
  EXPECT_EQ(gyro->time, (quor::timeval{kUnixSeconds, 0}));
}

INSTANTIATE_TEST_SUITE_P(BothByteOrders, HeadingFrameTest, ::testing::Bool());

// A navigation frame of `groups` at 5.25 s past kFrameSeconds, behind an
// extra header word: groups are found wherever the header ends.
Bytes NavigationFrame(bool bigEndian, const std::vector<GroupWriter>& groups) {
  FrameWriter writer(bigEndian);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds + 5, 250000, 0xDEADBEEF);
  for (const auto& put : groups) put(writer);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

GroupWriter Position(std::string datum) {
  return [=](FrameWriter& w) { xsewriter::PutPositionGroup(w, datum, 0.97, 0.17, 42.0); };
}

class NavigationFrameTest : public ::testing::TestWithParam<bool> {};

TEST_P(NavigationFrameTest, PositionHeadingAndAttitudeAreDeliveredInDegrees) {
  const auto target = xsetest::DecodeFrames({NavigationFrame(
      GetParam(), {Position("WGS84"), [](FrameWriter& w) { xsewriter::PutHeadingGroup(w, -0.5); },
                   [](FrameWriter& w) { xsewriter::PutAttitudeGroup(w, 0.25, -0.1, 0.05); }})});
  ASSERT_THAT(target.Kinds(), ElementsAre("startTime", "position", "gyro", "motion"));
  const auto* position = target.Nth<quor::NavigationRec>();
  EXPECT_EQ(position->geographicFirst, 0.97);
  EXPECT_EQ(position->geographicSecond, 0.17);
  EXPECT_EQ(position->thirdCoordinate, 42.0);
  EXPECT_EQ(position->time, (quor::timeval{kUnixSeconds + 5, 250000}));
  EXPECT_NEAR(target.Nth<quor::GyroRec>()->heading, -28.6479, 1e-4);
  const auto* motion = target.Nth<quor::MotionRec>();
  EXPECT_EQ(motion->heave, 0.25);
  EXPECT_NEAR(motion->roll, -5.7296, 1e-4);
  EXPECT_NEAR(motion->pitch, 2.8648, 1e-4);
  EXPECT_EQ(motion->fieldMask, 0x7u);
}

INSTANTIATE_TEST_SUITE_P(BothByteOrders, NavigationFrameTest, ::testing::Bool());

class FrameTypeTest : public ::testing::TestWithParam<std::tuple<uint32_t, bool, bool>> {};

TEST_P(FrameTypeTest, StartTimeAndDecodingFollowTheFrameType) {
  const auto [frameType, startTime, headingDecoded] = GetParam();
  const auto target = xsetest::DecodeFrames({xsetest::WriteFrame(
      true, frameType, [](FrameWriter& w) { xsewriter::PutHeadingGroup(w, 1.0); })});
  EXPECT_EQ(target.Count<quor::timeval>(), startTime ? 1u : 0u);
  EXPECT_EQ(target.Count<quor::GyroRec>(), headingDecoded ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(AllKinds, FrameTypeTest,
                         ::testing::Values(std::tuple{1u, true, true}, std::tuple{2u, false, false},
                                           std::tuple{3u, false, false},
                                           std::tuple{4u, false, false},
                                           std::tuple{5u, true, false}, std::tuple{6u, true, false},
                                           std::tuple{7u, true, false},
                                           std::tuple{10u, false, false},
                                           std::tuple{0xFFFFFFFFu, true, false}));

TEST(ElacReader, TimeBaseIs1901AndPre1970TimesAreMarkedInvalid) {
  EXPECT_EQ(elac::ConvertXseTime(kFrameSeconds, 123456), (quor::timeval{kUnixSeconds, 123456}));
  EXPECT_EQ(elac::ConvertXseTime(2177452800u, 0), (quor::timeval{0, 0}));
  EXPECT_EQ(elac::ConvertXseTime(2177452799u, 7), (quor::timeval{-1, 7}));
  EXPECT_EQ(elac::ConvertXseTime(0xFFFFFFFFu, 0).tv_sec, 2117514495);
}

class PositionDatumTest : public ::testing::TestWithParam<std::pair<std::string, bool>> {};

TEST_P(PositionDatumTest, DatumChoosesTheCoordinatePair) {
  const auto target = xsetest::DecodeFrames({NavigationFrame(false, {Position(GetParam().first)})});
  const auto* position = target.Nth<quor::NavigationRec>();
  ASSERT_NE(position, nullptr);
  const bool geographic = GetParam().second;
  EXPECT_EQ(position->fieldMask, geographic ? 0x3u : 0x0u);
  EXPECT_EQ(position->valid, 1);
  EXPECT_EQ(geographic ? position->geographicFirst : position->projectedFirst, 0.97);
  EXPECT_EQ(geographic ? position->geographicSecond : position->projectedSecond, 0.17);
  EXPECT_EQ(geographic ? position->projectedFirst : position->geographicFirst, 0.0);
  EXPECT_EQ(position->thirdCoordinate, 42.0);
}

INSTANTIATE_TEST_SUITE_P(Datums, PositionDatumTest,
                         ::testing::Values(std::pair{"WGS84", true}, std::pair{"wgs84", true},
                                           std::pair{"", true},
                                           std::pair{std::string("wgs84\0\0\0", 8), true},
                                           std::pair{"WGS", true}, std::pair{"wgs84x", false},
                                           std::pair{"ED50", false}));

TEST(ElacReader, ShortPositionGroupKeepsWgs84BitsForTheRestOfTheFrame) {
  // L = 5 and G = 30: the name fits, the coordinates do not (G >= 37 needed).
  auto shortPosition = [](std::string datum) {
    return [=](FrameWriter& w) {
      w.BeginGroup(2);
      w.PutU32(5);
      w.PutText(datum);
      for (int i = 0; i < 17; ++i) w.PutU8(0);
      w.EndGroup();
    };
  };
  const auto target = xsetest::DecodeFrames(
      {NavigationFrame(true, {shortPosition("ED50X"), shortPosition("wgs84"), Position("ED50")})});
  ASSERT_EQ(target.Count<quor::NavigationRec>(), 1u);
  const auto* position = target.Nth<quor::NavigationRec>();
  EXPECT_EQ(position->fieldMask, 0x3u);
  EXPECT_EQ(position->geographicFirst, 0.97) << "the bits of the short group choose the pair";
}

TEST(ElacReader, PingHeadingIsMarkedAsSecondSensorOnlyDuringTheCall) {
  const auto target = xsetest::DecodeFrames(
      {xsetest::WriteFrame(
           true, elac::kBathymetryFrame,
           [](FrameWriter& w) { xsewriter::PutPingHeadingGroup(w, 3 * std::numbers::pi / 2); }),
       NavigationFrame(true, {[](FrameWriter& w) { xsewriter::PutHeadingGroup(w, 0.0); }})});
  ASSERT_EQ(target.Count<quor::GyroRec>(), 2u);
  EXPECT_EQ(target.Nth<quor::GyroRec>(0)->heading, 270.0);
  EXPECT_EQ(target.Nth<quor::GyroRec>(0)->sensorIndex, 1);
  // The next navigation heading comes from the same record, index 0 again,
  // with the new frame's time and relTime 0.
  const auto* next = target.Nth<quor::GyroRec>(1);
  EXPECT_EQ(next->sensorIndex, 0);
  EXPECT_EQ(next->time, (quor::timeval{kUnixSeconds + 5, 250000}));
  EXPECT_EQ(next->relTime, 0);
}

class ShortGroupTest : public ::testing::TestWithParam<std::array<uint32_t, 3>> {};

TEST_P(ShortGroupTest, GroupShorterThanItsFieldsIsRejected) {
  const auto [frameType, groupType, bodyBytes] = GetParam();  // body including the type word
  for (uint32_t bytes : {bodyBytes - 1, bodyBytes}) {
    const auto target = xsetest::DecodeFrames(
        {xsetest::WriteFrame(true, frameType, xsetest::Group(groupType, {}, bytes - 4))});
    EXPECT_EQ(target.calls.size() - 1, bytes == bodyBytes ? 1u : 0u) << bytes << " bytes";
  }
}

INSTANTIATE_TEST_SUITE_P(HeadingAttitudePosition, ShortGroupTest,
                         ::testing::Values(std::array{1u, 11u, 12u}, std::array{1u, 7u, 28u},
                                           std::array{6u, 19u, 16u}, std::array{1u, 2u, 32u}));

TEST(ElacReader, WhatIsNoFrameGivesNoCall) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  auto frame = kBigEndianHeadingFrame;
  frame[0] = '#';  // no start marker
  EXPECT_FALSE(reader.DecodeFrameBytes(frame));
  EXPECT_FALSE(reader.DecodeFrame(frame.data()));
  EXPECT_FALSE(reader.DecodeFrameBytes({}));
  frame = kBigEndianHeadingFrame;
  frame[7] = 12;  // S = 12: the time words lie outside the frame
  EXPECT_FALSE(reader.DecodeFrameBytes(frame));
  EXPECT_FALSE(reader.DecodeBuffer(kBigEndianHeadingFrame.data(), 20));
  EXPECT_TRUE(target.calls.empty());
}

TEST(ElacReader, GroupsRunningPastTheBytesOrTheFrameAreDropped) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  // The whole frame minus the end marker decodes; cut inside the heading
  // group, the group runs past the bytes and is dropped.
  EXPECT_TRUE(reader.DecodeBuffer(kBigEndianHeadingFrame.data(), 48));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime", "gyro"));
  target.calls.clear();
  const Bytes cut(kBigEndianHeadingFrame.begin(), kBigEndianHeadingFrame.begin() + 40);
  EXPECT_TRUE(reader.DecodeBuffer(cut.data(), static_cast<uint32_t>(cut.size())));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime"));
  // So is a group that claims more than its frame holds.
  target.calls.clear();
  auto frame = kBigEndianHeadingFrame;
  frame[31] = 0x40;  // G = 64 where 12 bytes are left
  EXPECT_TRUE(reader.DecodeFrame(frame.data()));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime"));
}

TEST(ElacReader, OddSizesNeverReadPastTheFrame) {
  // Sizes that are not multiples of four leave a partial word at the end of
  // the group search; every cut of the frame must decode without reaching
  // outside the bytes it was given (checked by the sanitizers).
  const auto frame = NavigationFrame(true, {Position("WGS84")});
  for (size_t cut = 0; cut <= frame.size(); ++cut) {
    Bytes bytes(frame.begin(), frame.begin() + static_cast<ptrdiff_t>(cut));
    for (const uint8_t sizeLow : std::vector<uint8_t>{0x00, 0x01, 0x02, 0x03, 0x7F, 0xFF}) {
      if (bytes.size() >= 8) bytes[7] = sizeLow;
      ElacReader reader(nullptr, 0);
      reader.DecodeFrameBytes(bytes);
    }
  }
}

}  // namespace
