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
using xsetest::Put;
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

// Bytes written by hand, so that the frame writer and the reader cannot
// share a mistake. Where ReadFrame stops is pinned by the ReadFrame tests.
TEST(ElacReader, HeadingFrameGivesStartTimeThenHeading) {
  for (const auto* frame : {&kBigEndianHeadingFrame, &kLittleEndianHeadingFrame}) {
    const auto target = xsetest::DecodeFrames({*frame});
    ASSERT_THAT(target.Kinds(), ElementsAre("startTime", "gyro"));
    EXPECT_EQ(std::get<quor::timeval>(target.calls[0]), (quor::timeval{kUnixSeconds, 0}));
    EXPECT_EQ(target.Nth<quor::GyroRec>()->heading, 90.0);
  }
}

// A navigation frame of `groups` at 5.25 s past kFrameSeconds, behind an
// extra header word: groups are found wherever the header ends.
Bytes NavigationFrame(std::endian order, const std::vector<GroupWriter>& groups) {
  FrameWriter writer(order);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds + 5, 250000, 0xDEADBEEF);
  for (const auto& put : groups) put(writer);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

GroupWriter Position(std::string datum) {
  return Put(xsewriter::PutPositionGroup, datum, 0.97, 0.17, 42.0);
}

// Each row's frame holds a position in its datum, a heading and an attitude;
// the rows alternate the byte order. Validity, time, heave and the motion
// mask are pinned by the exact lines of `xse dump`.
TEST(ElacReader, NavigationFrameGivesPositionByDatumAndHeadingAndAttitudeInDegrees) {
  const std::pair<std::string, bool> kDatums[] = {
      {"WGS84", true}, {"wgs84", true},   {"", true},     {std::string("wgs84\0\0\0", 8), true},
      {"WGS", true},   {"wgs84x", false}, {"ED50", false}};
  std::endian order = std::endian::little;
  for (const auto& [datum, geographic] : kDatums) {
    order = order == std::endian::big ? std::endian::little : std::endian::big;
    const auto target = xsetest::DecodeFrames(
        {NavigationFrame(order, {Position(datum), Put(xsewriter::PutHeadingGroup, -0.5),
                                 Put(xsewriter::PutAttitudeGroup, 0.25, -0.1, 0.05)})});
    ASSERT_THAT(target.Kinds(), ElementsAre("startTime", "position", "gyro", "motion")) << datum;
    const auto* position = target.Nth<quor::NavigationRec>();
    EXPECT_EQ(position->fieldMask, geographic ? 0x3u : 0x0u) << datum;
    EXPECT_THAT(
        (std::array{position->geographicFirst, position->geographicSecond, position->projectedFirst,
                    position->projectedSecond, position->thirdCoordinate}),
        geographic ? ElementsAre(0.97, 0.17, 0.0, 0.0, 42.0)
                   : ElementsAre(0.0, 0.0, 0.97, 0.17, 42.0));
    EXPECT_NEAR(target.Nth<quor::GyroRec>()->heading, -28.6479, 1e-4);
    EXPECT_NEAR(target.Nth<quor::MotionRec>()->roll, -5.7296, 1e-4);
    EXPECT_NEAR(target.Nth<quor::MotionRec>()->pitch, 2.8648, 1e-4);
  }
}

TEST(ElacReader, StartTimeAndDecodingFollowTheFrameType) {
  // Frame type, start time delivered, heading group decoded.
  const std::tuple<uint32_t, bool, bool> kCases[] = {
      {1u, true, true},  {3u, false, false},  {5u, true, false},
      {6u, true, false}, {10u, false, false}, {0xFFFFFFFFu, true, false}};
  for (const auto& [frameType, startTime, headingDecoded] : kCases) {
    const auto target = xsetest::DecodeFrames(
        {xsetest::FrameOf(std::endian::big, frameType, {Put(xsewriter::PutHeadingGroup, 1.0)})});
    EXPECT_EQ(target.Count<quor::timeval>(), startTime ? 1u : 0u) << frameType;
    EXPECT_EQ(target.Count<quor::GyroRec>(), headingDecoded ? 1u : 0u) << frameType;
  }
}

TEST(ElacReader, TimeBaseIs1901AndPre1970TimesAreMarkedInvalid) {
  EXPECT_EQ(elac::ConvertXseTime(kFrameSeconds, 123456), (quor::timeval{kUnixSeconds, 123456}));
  EXPECT_EQ(elac::ConvertXseTime(2177452800u, 0), (quor::timeval{0, 0}));
  EXPECT_EQ(elac::ConvertXseTime(2177452799u, 7), (quor::timeval{-1, 7}));
  EXPECT_EQ(elac::ConvertXseTime(0xFFFFFFFFu, 0).tv_sec, 2117514495);
  EXPECT_EQ(elac::ConvertXseTime(kFrameSeconds, 2500000), (quor::timeval{kUnixSeconds, 2500000}))
      << "a million microseconds or more pass as the frame gives them";
}

TEST(ElacReader, ShortPositionGroupKeepsWgs84BitsForTheRestOfTheFrame) {
  // L = 5, "wgs84" and G = 30: the name fits, the coordinates do not.
  const auto target = xsetest::DecodeFrames({NavigationFrame(
      std::endian::big, {xsetest::Group(2, {5, 0x77677338, 0x34000000}, 14), Position("ED50")})});
  ASSERT_EQ(target.Count<quor::NavigationRec>(), 1u);
  EXPECT_EQ(target.Nth<quor::NavigationRec>()->geographicFirst, 0.97)
      << "the bits of the short group choose the pair";
}

TEST(ElacReader, PingHeadingIsMarkedAsSecondSensorOnlyDuringTheCall) {
  const auto target = xsetest::DecodeFrames(
      {xsetest::FrameOf(std::endian::big, elac::kBathymetryFrame,
                        {Put(xsewriter::PutPingHeadingGroup, 3 * std::numbers::pi / 2)}),
       NavigationFrame(std::endian::big, {Put(xsewriter::PutHeadingGroup, 0.0)})});
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

TEST(ElacReader, GroupShorterThanItsFieldsIsRejected) {
  // Frame type, group type, body bytes needed (type word included): the
  // heading, attitude, ping heading and position groups.
  const std::array<uint32_t, 3> kCases[] = {{1, 11, 12}, {1, 7, 28}, {6, 19, 16}, {1, 2, 32}};
  for (const auto& [frameType, groupType, bodyBytes] : kCases) {
    for (uint32_t bytes : {bodyBytes - 1, bodyBytes}) {
      const auto target = xsetest::DecodeFrames({xsetest::WriteFrame(
          std::endian::big, frameType, xsetest::Group(groupType, {}, bytes - 4))});
      EXPECT_EQ(target.calls.size() - 1, bytes == bodyBytes ? 1u : 0u)
          << "group " << groupType << ", " << bytes << " bytes";
    }
  }
}

TEST(ElacReader, WhatIsNoFrameGivesNoCallAndGroupsRunningPastItAreDropped) {
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
  // Cut inside the heading group, the group runs past the bytes; then a
  // group claims more than its frame holds. Both frames give only their time.
  const Bytes cut(kBigEndianHeadingFrame.begin(), kBigEndianHeadingFrame.begin() + 40);
  EXPECT_TRUE(reader.DecodeBuffer(cut.data(), static_cast<uint32_t>(cut.size())));
  frame = kBigEndianHeadingFrame;
  frame[31] = 0x40;  // G = 64 where 12 bytes are left
  EXPECT_TRUE(reader.DecodeFrame(frame.data()));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime", "startTime"));
}

TEST(ElacReader, OddSizesNeverReadPastTheFrame) {
  // Sizes that are not multiples of four leave a partial word at the end of
  // the group search; every cut of the frame must decode without reaching
  // outside the bytes it was given (the sanitizers check the reads). A
  // position comes out only from a cut that holds the whole group, and then
  // with the coordinates written, never with bytes from beyond the cut.
  const auto frame = NavigationFrame(std::endian::big, {Position("WGS84")});
  const size_t groupEnd = frame.size() - 8;  // before the group and frame end markers
  xsetest::RecordingTarget target;
  ElacReader reader(&target, 0);
  for (size_t cut = 0; cut <= frame.size(); ++cut) {
    Bytes bytes(frame.begin(), frame.begin() + static_cast<ptrdiff_t>(cut));
    for (const uint8_t sizeLow : std::vector<uint8_t>{0x00, 0x01, 0x02, 0x03, 0x7F, 0xFF}) {
      if (bytes.size() >= 8) bytes[7] = sizeLow;
      target.calls.clear();
      (void)reader.DecodeFrameBytes(bytes);
      const auto* position = target.Nth<quor::NavigationRec>();
      if (position == nullptr) continue;
      EXPECT_GE(cut, groupEnd) << "size byte " << int{sizeLow};
      EXPECT_EQ(position->geographicFirst, 0.97);
      EXPECT_EQ(position->thirdCoordinate, 42.0);
    }
  }
}

}  // namespace

// Every group of a frame whose type has groups is counted by what became of
// it, with the offset of each status's first group; frames of other types
// count none. The sidescan decoder accepts any group, but one of a type it
// does not know is still counted as such.
TEST(ElacReader, GroupsAreCountedByWhatBecameOfThemWithTheFirstOffsetOfEach) {
  using elac::GroupStatus;
  Bytes navigation = xsetest::FrameOf(std::endian::big, 1,
                                      {xsetest::Group(11, {}, 8), xsetest::Group(99, {}, 4),
                                       xsetest::Group(11, {}, 0), xsetest::Group(7, {}, 24)});
  // Groups of 24, 20, 16 and 40 bytes behind the 24-byte frame header.
  const size_t at[] = {24, 48, 68, 84};
  navigation[at[3] + 6] = 0x10;  // the last group claims 4 KiB more than the frame holds
  const Bytes skipped = xsetest::FrameOf(std::endian::big, 2, {xsetest::Group(99, {}, 4)});
  const Bytes sidescan = xsetest::FrameOf(std::endian::big, 5, {xsetest::Group(42, {}, 4)});

  elac::ReadStatistics statistics;
  ElacReader reader(nullptr, 0);
  reader.SetStatistics(&statistics);
  for (const Bytes* frame : std::initializer_list<const Bytes*>{&navigation, &skipped, &sidescan})
    EXPECT_TRUE(reader.DecodeFrameBytes(*frame));
  // Status, groups, offset of the first: the unknown types are 99 and the
  // sidescan frame's 42; the unusable one is a heading group without its
  // heading.
  const std::tuple<GroupStatus, uint64_t, size_t> kExpected[] = {
      {GroupStatus::kDecoded, 1, at[0]},
      {GroupStatus::kUnknownType, 2, at[1]},
      {GroupStatus::kUnusable, 1, at[2]},
      {GroupStatus::kOverrunsFrame, 1, at[3]}};
  for (const auto& [status, count, first] : kExpected) {
    const auto slot = static_cast<size_t>(status);
    EXPECT_EQ(statistics.groupsByStatus[slot], count) << slot;
    EXPECT_EQ(statistics.firstGroupAt[slot], first) << slot;
  }
}
