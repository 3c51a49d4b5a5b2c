#include "interpreters/surveyreaderlib/elacreader/sidescandecoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <tuple>

#include "grouptestsupport.h"

namespace {

using quor::SidescanRec;
using ::testing::ElementsAre;
using xsetest::Group;
using xsetest::GroupWriter;
using xsetest::Put;

std::vector<float> Samples(const SidescanRec& sidescan) {
  return {sidescan.samples.get(), sidescan.samples.get() + sidescan.sampleCount};
}

GroupWriter SamplesGroup(uint32_t intervalUs, uint32_t delayUs, std::vector<uint16_t> samples) {
  return Put(xsewriter::PutSidescanSamplesGroup, intervalUs, delayUs, samples);
}

GroupWriter Gains(int16_t first, int16_t second) {
  return Put(xsewriter::PutSidescanGainGroup, first, second);
}

bool Decode(const GroupWriter& write, SidescanRec& sidescan) {
  return xsetest::DecodeGroup(elac::DecodeSidescanGroup, write, sidescan);
}

// Ping number 321, six samples 100 us apart behind a delay of two samples,
// then the `trailing` groups.
xsetest::Bytes SidescanFrame(std::endian order, std::vector<GroupWriter> trailing) {
  trailing.insert(trailing.begin(), {Put(xsewriter::PutSidescanPingGroup, 321u),
                                     SamplesGroup(100, 200, {10, 11, 12, 13, 14, 15})});
  return xsetest::FrameOf(order, elac::kSidescanFrame, trailing);
}

class SidescanFrameTest : public ::testing::TestWithParam<std::endian> {};

// A frame delivers when its own groups complete the ping: gains are needed,
// a later unknown group costs nothing, an empty one the whole ping.
TEST_P(SidescanFrameTest, PingLaysBothSidesOutAroundTheDelayGap) {
  const std::endian big = GetParam();
  const auto target = xsetest::DecodeFrames(
      {SidescanFrame(big, {Gains(0, 0)}), SidescanFrame(big, {Group(42, {}, 4)}),
       SidescanFrame(big, {Gains(0, 0), Group(42, {}, 4)}),
       SidescanFrame(big, {Gains(0, 0), xsetest::PutEmptyGroup})});
  ASSERT_THAT(target.Kinds(), ElementsAre("startTime", "sidescan", "startTime", "startTime",
                                          "sidescan", "startTime"));
  // Ping number, interval and slant range are pinned by `xse dump`.
  const auto* ping = target.Nth<SidescanRec>();
  EXPECT_EQ(ping->valid, 1);
  EXPECT_EQ(ping->fieldMask, 0x16u);
  EXPECT_THAT(Samples(*ping), ElementsAre(15, 14, 13, 0, 0, 0, 0, 12, 11, 10));
}

INSTANTIATE_TEST_SUITE_P(BothByteOrders, SidescanFrameTest,
                         ::testing::Values(std::endian::big, std::endian::little));

// The largest delay gap that fits: b = kMaxSidescanSamples / 2 at 1 us.
constexpr uint32_t kLargestGap = elac::kMaxSidescanSamples / 2;

TEST(SidescanDecoder, GapIsTheRoundedDelayAndGainsScaleEachHalfByTwoToMinusTheExponent) {
  using Zeros = std::vector<float>;
  // Interval and delay in us, samples, gain exponents, samples laid out, slant range.
  const std::tuple<uint32_t, uint32_t, std::vector<uint16_t>, int16_t, int16_t, Zeros, float>
      kCases[] = {{100, 1050, {}, 0, 0, Zeros(22), 0.825f},
                  {100, 49, {1, 2}, 0, 0, {2, 1}, 0.075f},
                  {1, kLargestGap, {}, 0, 0, Zeros(2 * kLargestGap), 1e-6f * kLargestGap * 750},
                  {100, 0, {8, 16, 24, 32}, 1, -2, {16, 12, 64, 32}, 0.15f},
                  {100, 0, {8, 16, 24, 32}, 200, 0, {0, 0, 16, 8}, 0.15f},
                  // An odd count keeps every sample; without a gap the middle one
                  // belongs to the second half.
                  {100, 100, {1, 2, 3, 4, 5}, 0, 0, {5, 4, 0, 0, 3, 2, 1}, 0.225f},
                  {100, 0, {1, 2, 3, 4, 5}, 1, -1, {2.5, 2, 6, 4, 2}, 0.15f}};
  for (const auto& [intervalUs, delayUs, samples, firstGain, secondGain, expected, slant] :
       kCases) {
    SidescanRec ping;
    ASSERT_TRUE(Decode(SamplesGroup(intervalUs, delayUs, samples), ping));
    ASSERT_TRUE(Decode(Gains(firstGain, secondGain), ping));
    EXPECT_EQ(ping.fieldMask, SidescanRec::kSamples | SidescanRec::kGainsApplied);
    EXPECT_EQ(Samples(ping), expected);
    EXPECT_FLOAT_EQ(ping.slantRange, slant);
  }
}

// Only a group too short for its type word is refused; any other group the
// decoder cannot use is accepted and changes nothing.
TEST(SidescanDecoder, UnusableGroupIsAcceptedButChangesNothing) {
  const GroupWriter kUnusable[] = {SamplesGroup(0, 1000, {1, 2}),        // no interval
                                   SamplesGroup(1, kLargestGap, {1}),    // array too large
                                   SamplesGroup(1, 0xFFFFFFFF, {1, 2}),  // gap too large
                                   Group(2, {100, 0, 5}, 2),             // samples past it
                                   Group(2, {}, 8),
                                   Group(1, {}, 3),
                                   Group(9, {}, 7),
                                   Group(77, {}, 12)};
  int row = 0;
  for (const auto& group : kUnusable) {
    SCOPED_TRACE(row++);
    SidescanRec ping;
    ASSERT_TRUE(Decode(SamplesGroup(100, 0, {1, 2}), ping));
    ping.fieldMask = 0;
    EXPECT_TRUE(Decode(group, ping));
    EXPECT_EQ(ping.fieldMask, 0u);
    EXPECT_EQ(ping.pingNumber, -1);
    EXPECT_EQ(ping.sampleCapacity, 2u);
    EXPECT_THAT(Samples(ping), ElementsAre(2, 1));
  }
  SidescanRec ping;
  const std::vector<uint8_t> stub = {0, 0};
  EXPECT_FALSE(elac::DecodeSidescanGroup(elac::ByteCursor({}, std::endian::big), ping));
  EXPECT_TRUE(elac::DecodeSidescanGroup(elac::ByteCursor(stub, std::endian::big), ping));
}

}  // namespace
