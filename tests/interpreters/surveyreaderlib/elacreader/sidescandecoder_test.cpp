#include "interpreters/surveyreaderlib/elacreader/sidescandecoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "grouptestsupport.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "support/recordingtarget.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using quor::SidescanRec;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using xsetest::RecordingTarget;
using xsewriter::FrameWriter;

using GroupWriter = std::function<void(FrameWriter&)>;

std::vector<float> Samples(const SidescanRec& sidescan) {
  return {sidescan.samples.get(), sidescan.samples.get() + sidescan.sampleCount};
}

GroupWriter SamplesGroup(uint32_t intervalUs, uint32_t delayUs, std::vector<uint16_t> samples) {
  return
      [=](FrameWriter& w) { xsewriter::PutSidescanSamplesGroup(w, intervalUs, delayUs, samples); };
}

bool Decode(const GroupWriter& write, SidescanRec& sidescan, bool bigEndian = true) {
  const auto body = xsetest::WriteGroupBody(bigEndian, write);
  return elac::DecodeSidescanGroup(xsetest::Cursor(body, bigEndian), sidescan);
}

std::vector<float> Zeros(size_t count) { return std::vector<float>(count, 0.0f); }

std::vector<float> Concat(std::vector<std::vector<float>> parts) {
  std::vector<float> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

class SidescanFrameTest : public ::testing::TestWithParam<bool> {};

TEST_P(SidescanFrameTest, PingLaysBothSidesOutAroundTheDelayGap) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  ASSERT_TRUE(reader.DecodeFrameBytes(
      xsetest::WriteFrame(GetParam(), elac::kSidescanFrame, [](FrameWriter& w) {
        xsewriter::PutSidescanPingGroup(w, 321);
        SamplesGroup(100, 1000, {10, 11, 12, 13, 14, 15})(w);
        xsewriter::PutSidescanGainGroup(w, 0, 0);
      })));
  ASSERT_THAT(target.Kinds(), ElementsAre("startTime", "sidescan"));
  const auto* ping = target.Nth<SidescanRec>();
  EXPECT_EQ(ping->valid, 1);
  EXPECT_EQ(ping->fieldMask, 0x16u);
  EXPECT_EQ(ping->pingNumber, 321);
  EXPECT_FLOAT_EQ(ping->sampleInterval, 0.0001f);
  EXPECT_FLOAT_EQ(ping->slantRange, 0.975f);
  EXPECT_EQ(ping->sampleCount, 26u);
  EXPECT_THAT(Samples(*ping), ElementsAreArray(Concat({{15, 14, 13}, Zeros(20), {12, 11, 10}})));
}

INSTANTIATE_TEST_SUITE_P(BothByteOrders, SidescanFrameTest, ::testing::Bool(),
                         [](const auto& p) { return p.param ? "Big" : "Little"; });

struct DelayCase {
  uint32_t intervalUs;
  uint32_t delayUs;
  uint32_t gap;  // b, the delay in samples
};

class SidescanDelayTest : public ::testing::TestWithParam<DelayCase> {};

TEST_P(SidescanDelayTest, DelayIsRoundedToTheNearestSample) {
  SidescanRec ping;
  ASSERT_TRUE(Decode(SamplesGroup(GetParam().intervalUs, GetParam().delayUs, {1, 2}), ping));
  EXPECT_EQ(ping.sampleCount, 2 + 2 * GetParam().gap);
}

INSTANTIATE_TEST_SUITE_P(Delays, SidescanDelayTest,
                         ::testing::Values(DelayCase{100, 1049, 10}, DelayCase{100, 1050, 11},
                                           DelayCase{100, 0, 0}, DelayCase{100, 49, 0},
                                           DelayCase{100, 50, 1}, DelayCase{3, 1, 0}));

struct GainCase {
  int16_t first, second;
  std::vector<float> expected;
};

class SidescanGainTest : public ::testing::TestWithParam<GainCase> {};

TEST_P(SidescanGainTest, EachHalfIsScaledByTwoToTheMinusExponent) {
  SidescanRec ping;
  ASSERT_TRUE(Decode(SamplesGroup(100, 0, {8, 16, 24, 32}), ping));
  const auto& gain = GetParam();
  ASSERT_TRUE(Decode(
      [&gain](FrameWriter& w) { xsewriter::PutSidescanGainGroup(w, gain.first, gain.second); },
      ping));
  EXPECT_EQ(ping.fieldMask, SidescanRec::kSamples | SidescanRec::kGainsApplied);
  EXPECT_EQ(Samples(ping), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(Exponents, SidescanGainTest,
                         ::testing::Values(GainCase{1, -2, {16, 12, 64, 32}},
                                           GainCase{0, 0, {32, 24, 16, 8}},
                                           GainCase{-1, 3, {64, 48, 2, 1}},
                                           GainCase{200, 0, {0, 0, 16, 8}}));

TEST(SidescanDecoder, OddSampleCountKeepsEverySampleWithItsSide) {
  SidescanRec ping;
  ASSERT_TRUE(Decode(SamplesGroup(100, 100, {1, 2, 3, 4, 5}), ping));
  EXPECT_THAT(Samples(ping), ElementsAre(5, 4, 0, 0, 3, 2, 1));
  EXPECT_FLOAT_EQ(ping.slantRange, 0.0001f * 3 * 750);
  // Without a gap the middle sample belongs to the second half.
  ASSERT_TRUE(Decode(SamplesGroup(100, 0, {1, 2, 3, 4, 5}), ping));
  ASSERT_TRUE(Decode([](FrameWriter& w) { xsewriter::PutSidescanGainGroup(w, 1, -1); }, ping));
  EXPECT_THAT(Samples(ping), ElementsAre(2.5, 2, 6, 4, 2));
}

TEST(SidescanDecoder, SampleArrayGrowsOnlyWhenAPingNeedsMoreRoom) {
  SidescanRec ping;
  ASSERT_TRUE(Decode(SamplesGroup(100, 1000, {1, 2, 3, 4, 5, 6}), ping));
  const float* samples = ping.samples.get();
  ASSERT_TRUE(Decode(SamplesGroup(100, 0, {7, 8}), ping));
  EXPECT_EQ(ping.samples.get(), samples);
  EXPECT_EQ(ping.sampleCapacity, 26u);
  EXPECT_THAT(Samples(ping), ElementsAre(8, 7));
  ASSERT_TRUE(Decode(SamplesGroup(100, 1100, {1, 2, 3, 4, 5, 6}), ping));
  EXPECT_EQ(ping.sampleCapacity, 28u);
}

TEST(SidescanDecoder, OnlyAnEmptyGroupIsRefused) {
  SidescanRec ping;
  EXPECT_FALSE(elac::DecodeSidescanGroup(elac::ByteCursor({}, true), ping));
  const std::vector<uint8_t> stub = {0, 0};
  EXPECT_TRUE(elac::DecodeSidescanGroup(xsetest::Cursor(stub), ping));
  EXPECT_TRUE(Decode([](FrameWriter& w) { xsetest::PutZeroGroup(w, 77, 12); }, ping));
  EXPECT_EQ(ping.fieldMask, 0u);
}

struct DroppedCase {
  const char* name;
  GroupWriter write;
};

class DroppedSidescanGroupTest : public ::testing::TestWithParam<DroppedCase> {};

TEST_P(DroppedSidescanGroupTest, IsAcceptedButChangesNothing) {
  SidescanRec ping;
  ASSERT_TRUE(Decode(SamplesGroup(100, 0, {1, 2}), ping));
  ping.fieldMask = 0;
  EXPECT_TRUE(Decode(GetParam().write, ping));
  EXPECT_EQ(ping.fieldMask, 0u);
  EXPECT_EQ(ping.pingNumber, -1);
  EXPECT_EQ(ping.sampleCount, 2u);
  EXPECT_EQ(ping.sampleCapacity, 2u);
  EXPECT_THAT(Samples(ping), ElementsAre(2, 1));
}

// The largest delay gap that fits: b = kMaxSidescanSamples / 2 at 1 us.
constexpr uint32_t kLargestGap = elac::kMaxSidescanSamples / 2;

INSTANTIATE_TEST_SUITE_P(
    Unusable, DroppedSidescanGroupTest,
    ::testing::Values(
        DroppedCase{"ZeroInterval", SamplesGroup(0, 1000, {1, 2})},
        DroppedCase{"ZeroIntervalAndDelay", SamplesGroup(0, 0, {1, 2})},
        DroppedCase{"GapAboveTheLimit", SamplesGroup(1, kLargestGap, {1})},
        DroppedCase{"HugeDelay", SamplesGroup(1, 0xFFFFFFFF, {1, 2})},
        DroppedCase{"SamplesPastTheGroup",
                    [](FrameWriter& w) {
                      w.BeginGroup(2);
                      for (uint32_t word : {100u, 0u, 5u}) w.PutU32(word);
                      w.PutU16(1);
                      w.EndGroup();
                    }},
        DroppedCase{"SamplesHeaderCut", [](FrameWriter& w) { xsetest::PutZeroGroup(w, 2, 8); }},
        DroppedCase{"PingNumberMissing", [](FrameWriter& w) { xsetest::PutZeroGroup(w, 1, 3); }},
        DroppedCase{"GainsCut", [](FrameWriter& w) { xsetest::PutZeroGroup(w, 9, 7); }}),
    [](const auto& p) { return p.param.name; });

TEST(SidescanDecoder, GapAtTheLimitIsAccepted) {
  SidescanRec ping;
  ASSERT_TRUE(Decode(SamplesGroup(1, kLargestGap, {}), ping));
  EXPECT_EQ(ping.sampleCount, elac::kMaxSidescanSamples);
}

struct DeliveryCase {
  const char* name;
  std::vector<GroupWriter> groups;
  bool delivered;
};

class SidescanDeliveryTest : public ::testing::TestWithParam<DeliveryCase> {};

const GroupWriter kPing = [](FrameWriter& w) { xsewriter::PutSidescanPingGroup(w, 1); };
const GroupWriter kSamples = SamplesGroup(100, 0, {1, 2});
const GroupWriter kGains = [](FrameWriter& w) { xsewriter::PutSidescanGainGroup(w, 0, 0); };

TEST_P(SidescanDeliveryTest, AFrameDeliversWhenItsOwnGroupsCompleteThePing) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  // A complete frame first: nothing of it may carry over.
  const std::vector<GroupWriter> complete = {kPing, kSamples, kGains};
  for (const auto* groups : {&complete, &GetParam().groups}) {
    ASSERT_TRUE(reader.DecodeFrameBytes(
        xsetest::WriteFrame(true, elac::kSidescanFrame, [groups](FrameWriter& w) {
          for (const auto& put : *groups) put(w);
        })));
  }
  EXPECT_EQ(target.Count<SidescanRec>(), GetParam().delivered ? 2u : 1u);
}

INSTANTIATE_TEST_SUITE_P(
    Frames, SidescanDeliveryTest,
    ::testing::Values(
        DeliveryCase{"AllThree", {kPing, kSamples, kGains}, true},
        DeliveryCase{"WithoutGains", {kPing, kSamples}, false},
        DeliveryCase{"WithoutPingNumber", {kSamples, kGains}, false},
        DeliveryCase{
            "UnknownLastGroup",
            {kPing, kSamples, kGains, [](FrameWriter& w) { xsetest::PutZeroGroup(w, 42, 4); }},
            true},
        DeliveryCase{"EmptyLastGroup", {kPing, kSamples, kGains, xsetest::PutEmptyGroup}, false}),
    [](const auto& p) { return p.param.name; });

}  // namespace
