// The counts a reader keeps for tools that summarise data: frames decoded by
// type and byte order, frame starts that led to no frame, and the bytes of
// the frames read, from which a tool tells the bytes it skipped.
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"

#include <gtest/gtest.h>

#include "grouptestsupport.h"

namespace {

using xsetest::Bytes;
using xsetest::Concat;
using xsetest::HeadingFrame;

const Bytes kNav = HeadingFrame(true);

Bytes Patched(size_t at, uint8_t value) {
  Bytes frame = kNav;
  frame[at] = value;
  return frame;
}

elac::ReadStatistics ReadAll(const Bytes& data) {
  auto stream = xsetest::StreamOf(data);
  elac::ReadStatistics statistics;
  ElacReader reader(nullptr, 0);
  reader.SetStatistics(&statistics);
  for (int i = 0; i < 100 && stream.good(); ++i) reader.ReadFrame(stream);
  return statistics;
}

struct StatisticsCase {
  const char* name;
  Bytes data;
  uint64_t decoded, rejected, frameBytes;
};

class ReadStatisticsTest : public ::testing::TestWithParam<StatisticsCase> {};

TEST_P(ReadStatisticsTest, CountsWhatTheSearchMet) {
  const auto statistics = ReadAll(GetParam().data);
  EXPECT_EQ(statistics.FramesDecoded(), GetParam().decoded);
  EXPECT_EQ(statistics.framesRejected, GetParam().rejected);
  EXPECT_EQ(statistics.frameBytes, GetParam().frameBytes);
  EXPECT_EQ(statistics.bigEndianFrames + statistics.littleEndianFrames, GetParam().decoded);
}

// Start marker, S = 8 (too short for type and time), 8 bytes, end marker.
const Bytes kHeaderless = {'$', 'H', 'S', 'F', 0, 0, 0,   8,   0,   0,
                           0,   1,   0,   0,   0, 0, '#', 'H', 'S', 'F'};
const size_t kNavSize = kNav.size();

INSTANTIATE_TEST_SUITE_P(
    Streams, ReadStatisticsTest,
    ::testing::Values(
        StatisticsCase{"Clean", Concat({kNav, HeadingFrame(false)}), 2, 0, 2 * kNavSize},
        StatisticsCase{"JunkIsNoFrame", Concat({Bytes(8, 0xAA), kNav}), 1, 0, kNavSize},
        StatisticsCase{"DamagedEndMarker", Concat({Patched(51, 'X'), kNav}), 1, 1, kNavSize},
        StatisticsCase{"AbsurdSize", Concat({Patched(4, 0x7F), kNav}), 1, 1, kNavSize},
        StatisticsCase{"DataEndsInsideAFrame", Concat({kNav, Bytes(kNav.begin(), kNav.end() - 3)}),
                       1, 1, kNavSize},
        StatisticsCase{"TooShortForItsHeader", Concat({kHeaderless, kNav}), 1, 1, kNavSize}),
    [](const auto& p) { return std::string(p.param.name); });

TEST(ReadStatistics, FramesAreCountedByTypeAndByteOrder) {
  auto frame = [](uint32_t type, bool big) { return xsetest::WriteFrame(big, type, [](auto&) {}); };
  const auto statistics = ReadAll(Concat({kNav, HeadingFrame(false), frame(4, false),
                                          frame(7, true), frame(16, true), frame(4000, false)}));
  EXPECT_EQ(statistics.framesByType[elac::kNavigationFrame], 2u);
  EXPECT_EQ(statistics.framesByType[elac::kParameterFrame], 1u);
  EXPECT_EQ(statistics.framesByType[7], 1u);
  EXPECT_EQ(statistics.framesByType[elac::ReadStatistics::kOtherFrameTypes], 2u);
  EXPECT_EQ(statistics.bigEndianFrames, 3u);
  EXPECT_EQ(statistics.littleEndianFrames, 3u);
}

TEST(ReadStatistics, FramesDecodedFromMemoryAreCountedButAddNoStreamBytes) {
  elac::ReadStatistics statistics;
  ElacReader reader(nullptr, 0);
  reader.SetStatistics(&statistics);
  EXPECT_TRUE(reader.DecodeFrame(kNav.data()));
  EXPECT_EQ(statistics.framesByType[elac::kNavigationFrame], 1u);
  EXPECT_EQ(statistics.frameBytes, 0u);
}

}  // namespace
