#include "interpreters/surveyreaderlib/elacreader/elacreader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/recordingtarget.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using ::testing::ElementsAre;
using xsetest::RecordingTarget;
using xsewriter::FrameWriter;

// 2022-08-19 00:00:00 UTC counted from 1901.
constexpr uint32_t kFrameSeconds = 3838320000u;
constexpr int32_t kUnixSeconds = 1660867200;

std::vector<uint8_t> FromHex(const std::string& hex) {
  std::vector<uint8_t> bytes;
  std::istringstream in(hex);
  unsigned value = 0;
  while (in >> std::hex >> value) bytes.push_back(static_cast<uint8_t>(value));
  return bytes;
}

// The 52-byte navigation frame with one heading group of pi/2, both orders.
const std::vector<uint8_t> kBigEndianHeadingFrame = FromHex(
    "24 48 53 46 00 00 00 28 00 00 00 01 00 00 00 00 E4 C8 1D 80 00 00 00 00 24 48 53 47 "
    "00 00 00 0C 00 00 00 0B 3F F9 21 FB 54 44 2D 18 23 48 53 47 23 48 53 46");
const std::vector<uint8_t> kLittleEndianHeadingFrame = FromHex(
    "46 53 48 24 28 00 00 00 01 00 00 00 00 00 00 00 80 1D C8 E4 00 00 00 00 47 53 48 24 "
    "0C 00 00 00 0B 00 00 00 18 2D 44 54 FB 21 F9 3F 47 53 48 23 46 53 48 23");

std::vector<uint8_t> Bytes(std::span<const uint8_t> span) { return {span.begin(), span.end()}; }

std::istringstream StreamOf(const std::vector<uint8_t>& bytes) {
  return std::istringstream(std::string(bytes.begin(), bytes.end()));
}

class HeadingFrameTest : public ::testing::TestWithParam<bool> {};

TEST_P(HeadingFrameTest, DeliversStartTimeThenHeadingAndReadsUpToTheEndMarker) {
  const auto& frame = GetParam() ? kBigEndianHeadingFrame : kLittleEndianHeadingFrame;
  ASSERT_EQ(frame.size(), 52u);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  auto stream = StreamOf(frame);
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

INSTANTIATE_TEST_SUITE_P(BothByteOrders, HeadingFrameTest, ::testing::Bool(),
                         [](const auto& p) { return p.param ? "Big" : "Little"; });

// A navigation frame with every group type, written in the given order.
std::vector<uint8_t> FullNavigationFrame(bool bigEndian) {
  FrameWriter writer(bigEndian);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds + 5, 250000, 0xDEADBEEF);
  xsewriter::PutPositionGroup(writer, "WGS84", 0.97, 0.17, 42.0);
  xsewriter::PutHeadingGroup(writer, -0.5);
  xsewriter::PutAttitudeGroup(writer, 0.25, -0.1, 0.05);
  return Bytes(writer.EndFrame());
}

TEST(ElacReader, DecodesLittleEndianFrameLikeBigEndian) {
  RecordingTarget big, little;
  ElacReader bigReader(&big, 0), littleReader(&little, 0);
  ASSERT_TRUE(bigReader.DecodeFrameBytes(FullNavigationFrame(true)));
  ASSERT_TRUE(littleReader.DecodeFrameBytes(FullNavigationFrame(false)));
  ASSERT_THAT(big.Kinds(), ElementsAre("startTime", "position", "gyro", "motion"));
  ASSERT_EQ(big.Kinds(), little.Kinds());
  const auto* position = little.Nth<quor::NavigationRec>();
  EXPECT_EQ(position->geographicFirst, 0.97);
  EXPECT_EQ(position->geographicSecond, 0.17);
  EXPECT_EQ(position->thirdCoordinate, 42.0);
  EXPECT_EQ(position->fieldMask, 0x3u);
  EXPECT_EQ(position->time, (quor::timeval{kUnixSeconds + 5, 250000}));
  EXPECT_NEAR(little.Nth<quor::GyroRec>()->heading, -28.6479, 1e-4);
  const auto* motion = little.Nth<quor::MotionRec>();
  EXPECT_EQ(motion->heave, 0.25);
  EXPECT_NEAR(motion->roll, -5.7296, 1e-4);
  EXPECT_NEAR(motion->pitch, 2.8648, 1e-4);
  EXPECT_EQ(motion->fieldMask, 0x7u);
  EXPECT_EQ(big.Nth<quor::MotionRec>()->roll, motion->roll);
  EXPECT_EQ(big.Nth<quor::GyroRec>()->heading, little.Nth<quor::GyroRec>()->heading);
}

struct StartTimeCase {
  uint32_t frameType;
  bool startTime;
  bool headingDecoded;
};

class FrameTypeTest : public ::testing::TestWithParam<StartTimeCase> {};

TEST_P(FrameTypeTest, StartTimeAndDecodingFollowTheFrameType) {
  FrameWriter writer(true);
  writer.BeginFrame(GetParam().frameType, kFrameSeconds, 0);
  xsewriter::PutHeadingGroup(writer, 1.0);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_TRUE(reader.DecodeFrameBytes(writer.EndFrame()));
  EXPECT_EQ(target.Count<quor::timeval>(), GetParam().startTime ? 1u : 0u);
  EXPECT_EQ(target.Count<quor::GyroRec>(), GetParam().headingDecoded ? 1u : 0u);
}

INSTANTIATE_TEST_SUITE_P(AllKinds, FrameTypeTest,
                         ::testing::Values(StartTimeCase{1, true, true},
                                           StartTimeCase{2, false, false},
                                           StartTimeCase{3, false, false},
                                           StartTimeCase{4, false, false},
                                           StartTimeCase{5, true, false},
                                           StartTimeCase{6, true, false},
                                           StartTimeCase{7, true, false},
                                           StartTimeCase{10, false, false},
                                           StartTimeCase{0xFFFFFFFF, true, false}));

TEST(ElacReader, TimeBaseIs1901AndPre1970TimesAreMarkedInvalid) {
  EXPECT_EQ(elac::ConvertXseTime(kFrameSeconds, 123456), (quor::timeval{kUnixSeconds, 123456}));
  EXPECT_EQ(elac::ConvertXseTime(2177452800u, 0), (quor::timeval{0, 0}));
  EXPECT_EQ(elac::ConvertXseTime(2177452799u, 7), (quor::timeval{-1, 7}));
  EXPECT_EQ(elac::ConvertXseTime(0xFFFFFFFFu, 0).tv_sec, 2117514495);
}

struct PositionCase {
  const char* name;
  std::string datum;
  uint32_t fieldMask;
  bool geographic;
};

class PositionDatumTest : public ::testing::TestWithParam<PositionCase> {};

TEST_P(PositionDatumTest, DatumChoosesTheCoordinatePair) {
  FrameWriter writer(false);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds, 0);
  xsewriter::PutPositionGroup(writer, GetParam().datum, 1.5, 2.5, 3.5);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  ASSERT_TRUE(reader.DecodeFrameBytes(writer.EndFrame()));
  const auto* position = target.Nth<quor::NavigationRec>();
  ASSERT_NE(position, nullptr);
  EXPECT_EQ(position->fieldMask, GetParam().fieldMask);
  EXPECT_EQ(position->valid, 1);
  EXPECT_EQ(GetParam().geographic ? position->geographicFirst : position->projectedFirst, 1.5);
  EXPECT_EQ(GetParam().geographic ? position->geographicSecond : position->projectedSecond, 2.5);
  EXPECT_EQ(GetParam().geographic ? position->projectedFirst : position->geographicFirst, 0.0);
  EXPECT_EQ(position->thirdCoordinate, 3.5);
}

INSTANTIATE_TEST_SUITE_P(
    Datums, PositionDatumTest,
    ::testing::Values(PositionCase{"Capitals", "WGS84", 0x3, true},
                      PositionCase{"Lower", "wgs84", 0x3, true},
                      PositionCase{"Empty", "", 0x3, true},
                      PositionCase{"NulPadded", std::string("wgs84\0\0\0", 8), 0x3, true},
                      PositionCase{"Prefix", "WGS", 0x3, true},
                      PositionCase{"SixLetters", "wgs84x", 0x0, false},
                      PositionCase{"Ed50", "ED50", 0x0, false}),
    [](const auto& p) { return p.param.name; });

TEST(ElacReader, ShortPositionGroupKeepsWgs84BitsForTheRestOfTheFrame) {
  FrameWriter writer(true);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds, 0);
  // L = 5 and G = 30: the name fits, the coordinates do not (G >= 37 needed).
  writer.BeginGroup(2);
  writer.PutU32(5);
  writer.PutText("ED50X");
  for (int i = 0; i < 17; ++i) writer.PutU8(0);
  writer.EndGroup();
  writer.BeginGroup(2);
  writer.PutU32(5);
  writer.PutText("wgs84");
  for (int i = 0; i < 17; ++i) writer.PutU8(0);
  writer.EndGroup();
  xsewriter::PutPositionGroup(writer, "ED50", 7.0, 8.0, 9.0);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  ASSERT_TRUE(reader.DecodeFrameBytes(writer.EndFrame()));
  ASSERT_EQ(target.Count<quor::NavigationRec>(), 1u);
  const auto* position = target.Nth<quor::NavigationRec>();
  EXPECT_EQ(position->fieldMask, 0x3u);
  EXPECT_EQ(position->geographicFirst, 7.0) << "the bits of the short group choose the pair";
}

TEST(ElacReader, PingHeadingIsMarkedAsSecondSensorOnlyDuringTheCall) {
  FrameWriter writer(true);
  writer.BeginFrame(elac::kBathymetryFrame, kFrameSeconds, 0);
  xsewriter::PutPingHeadingGroup(writer, 3 * std::numbers::pi / 2);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  ASSERT_TRUE(reader.DecodeFrameBytes(writer.EndFrame()));
  const auto* gyro = target.Nth<quor::GyroRec>();
  ASSERT_NE(gyro, nullptr);
  EXPECT_EQ(gyro->heading, 270.0);
  EXPECT_EQ(gyro->sensorIndex, 1);
  // The next navigation heading comes from the same record, index 0 again.
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds, 0);
  xsewriter::PutHeadingGroup(writer, 0.0);
  ASSERT_TRUE(reader.DecodeFrameBytes(writer.EndFrame()));
  EXPECT_EQ(target.Nth<quor::GyroRec>(1)->sensorIndex, 0);
}

struct ShortGroupCase {
  const char* name;
  uint32_t frameType;
  uint32_t groupType;
  size_t bodyBytes;  // including the type word
};

class ShortGroupTest : public ::testing::TestWithParam<ShortGroupCase> {};

TEST_P(ShortGroupTest, GroupShorterThanItsFieldsIsRejected) {
  for (size_t bytes : {GetParam().bodyBytes - 1, GetParam().bodyBytes}) {
    FrameWriter writer(true);
    writer.BeginFrame(GetParam().frameType, kFrameSeconds, 0);
    writer.BeginGroup(GetParam().groupType);
    for (size_t i = 4; i < bytes; ++i) writer.PutU8(0);
    writer.EndGroup();
    RecordingTarget target;
    ElacReader reader(&target, 0);
    ASSERT_TRUE(reader.DecodeFrameBytes(writer.EndFrame()));
    const size_t records = target.calls.size() - 1;  // less the start time
    EXPECT_EQ(records, bytes == GetParam().bodyBytes ? 1u : 0u) << bytes << " bytes";
  }
}

INSTANTIATE_TEST_SUITE_P(HeadingAndAttitude, ShortGroupTest,
                         ::testing::Values(ShortGroupCase{"Heading11", 1, 11, 12},
                                           ShortGroupCase{"Attitude7", 1, 7, 28},
                                           ShortGroupCase{"Heading19", 6, 19, 16},
                                           ShortGroupCase{"Position2", 1, 2, 32}),
                         [](const auto& p) { return p.param.name; });

TEST(ElacReader, FrameStartResetsRecordsButKeepsOtherFields) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  ASSERT_TRUE(reader.DecodeFrameBytes(FullNavigationFrame(true)));
  FrameWriter writer(true);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds + 60, 0);
  xsewriter::PutHeadingGroup(writer, 0.0);
  ASSERT_TRUE(reader.DecodeFrameBytes(writer.EndFrame()));
  // The second frame's heading comes with the new time and relTime 0.
  const auto* gyro = target.Nth<quor::GyroRec>(1);
  EXPECT_EQ(gyro->time.tv_sec, kUnixSeconds + 60);
  EXPECT_EQ(gyro->relTime, 0);
  EXPECT_EQ(gyro->heading, 0.0);
}

TEST(ElacReader, NoStartMarkerMeansNoFrameAndNoCall) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  auto frame = kBigEndianHeadingFrame;
  frame[0] = '#';
  EXPECT_FALSE(reader.DecodeFrameBytes(frame));
  EXPECT_FALSE(reader.DecodeFrame(frame.data()));
  EXPECT_FALSE(reader.DecodeFrameBytes({}));
  EXPECT_TRUE(target.calls.empty());
}

TEST(ElacReader, FrameTooShortForItsHeaderIsNoFrame) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  auto frame = kBigEndianHeadingFrame;
  frame[7] = 12;  // S = 12: the time words lie outside the frame
  EXPECT_FALSE(reader.DecodeFrameBytes(frame));
  EXPECT_FALSE(reader.DecodeBuffer(kBigEndianHeadingFrame.data(), 20));
  EXPECT_TRUE(target.calls.empty());
}

TEST(ElacReader, DecodeBufferNeverLooksPastItsLength) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  // The whole frame minus the end marker decodes; cut inside the heading
  // group, the group runs past the bytes and is dropped.
  EXPECT_TRUE(reader.DecodeBuffer(kBigEndianHeadingFrame.data(), 48));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime", "gyro"));
  target.calls.clear();
  const std::vector<uint8_t> cut(kBigEndianHeadingFrame.begin(),
                                 kBigEndianHeadingFrame.begin() + 40);
  EXPECT_TRUE(reader.DecodeBuffer(cut.data(), static_cast<uint32_t>(cut.size())));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime"));
}

TEST(ElacReader, GroupClaimingMoreThanTheFrameIsDropped) {
  auto frame = kBigEndianHeadingFrame;
  frame[31] = 0x40;  // G = 64 where 12 bytes are left
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_TRUE(reader.DecodeFrame(frame.data()));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime"));
}

TEST(ElacReader, GroupsAreFoundBehindExtraHeaderWords) {
  FrameWriter writer(false);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds, 0);
  for (uint32_t word : {1u, 2u, 3u}) writer.PutU32(word);
  xsewriter::PutHeadingGroup(writer, 0.5);
  xsewriter::PutHeadingGroup(writer, 0.25);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  ASSERT_TRUE(reader.DecodeFrameBytes(writer.EndFrame()));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime", "gyro", "gyro"));
}

TEST(ElacReader, OddSizesNeverReadPastTheFrame) {
  // Sizes that are not multiples of four leave a partial word at the end of
  // the group search; every cut of the frame must decode without reaching
  // outside the bytes it was given (checked by the sanitizers).
  const auto frame = FullNavigationFrame(true);
  for (size_t cut = 0; cut <= frame.size(); ++cut) {
    std::vector<uint8_t> bytes(frame.begin(), frame.begin() + static_cast<ptrdiff_t>(cut));
    for (const uint8_t sizeLow : std::vector<uint8_t>{0x00, 0x01, 0x02, 0x03, 0x7F, 0xFF}) {
      if (bytes.size() >= 8) bytes[7] = sizeLow;
      RecordingTarget target;
      ElacReader reader(&target, 0);
      reader.DecodeFrameBytes(bytes);
    }
  }
}

}  // namespace
