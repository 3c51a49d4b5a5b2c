// The counts a reader keeps for tools that summarise data: frames decoded by
// type and byte order, frame starts that led to no frame, and the bytes of
// the frames read, from which a tool tells the bytes it skipped.
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes Frame(uint32_t type, bool bigEndian) {
  xsewriter::FrameWriter writer(bigEndian);
  writer.BeginFrame(type, 3838320000u, 0);
  xsewriter::PutHeadingGroup(writer, 1.0);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

Bytes Concat(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

const Bytes kNav = Frame(elac::kNavigationFrame, true);
const Bytes kNavLittle = Frame(elac::kNavigationFrame, false);

Bytes DamagedEnd() {
  Bytes frame = kNav;
  frame.back() = 'X';
  return frame;
}

Bytes AbsurdSize() {
  Bytes frame = kNav;
  frame[4] = 0x7F;
  return frame;
}

// Start marker, S = 8 (too short for type and time), 8 bytes, end marker.
Bytes HeaderlessFrame() {
  return {'$', 'H', 'S', 'F', 0, 0, 0, 8, 0, 0, 0, 1, 0, 0, 0, 0, '#', 'H', 'S', 'F'};
}

struct StatisticsCase {
  const char* name;
  Bytes data;
  uint64_t decoded;
  uint64_t rejected;
  uint64_t frameBytes;
};

class ReadStatisticsTest : public ::testing::TestWithParam<StatisticsCase> {};

TEST_P(ReadStatisticsTest, CountsWhatTheSearchMet) {
  std::istringstream stream(std::string(GetParam().data.begin(), GetParam().data.end()));
  elac::ReadStatistics statistics;
  ElacReader reader(nullptr, 0);
  reader.SetStatistics(&statistics);
  for (int i = 0; i < 100 && stream.good(); ++i) reader.ReadFrame(stream);
  EXPECT_EQ(statistics.FramesDecoded(), GetParam().decoded);
  EXPECT_EQ(statistics.framesRejected, GetParam().rejected);
  EXPECT_EQ(statistics.frameBytes, GetParam().frameBytes);
  EXPECT_EQ(statistics.bigEndianFrames + statistics.littleEndianFrames, GetParam().decoded);
}

INSTANTIATE_TEST_SUITE_P(
    Streams, ReadStatisticsTest,
    ::testing::Values(
        StatisticsCase{"Clean", Concat({kNav, kNavLittle}), 2, 0, 2 * kNav.size()},
        StatisticsCase{"JunkIsNoFrame", Concat({Bytes(8, 0xAA), kNav}), 1, 0, kNav.size()},
        StatisticsCase{"DamagedEndMarker", Concat({DamagedEnd(), kNav}), 1, 1, kNav.size()},
        StatisticsCase{"AbsurdSize", Concat({AbsurdSize(), kNav}), 1, 1, kNav.size()},
        StatisticsCase{"DataEndsInsideAFrame", Concat({kNav, Bytes(kNav.begin(), kNav.end() - 3)}),
                       1, 1, kNav.size()},
        StatisticsCase{"TooShortForItsHeader", Concat({HeaderlessFrame(), kNav}), 1, 1,
                       kNav.size()}),
    [](const auto& testCase) { return std::string(testCase.param.name); });

TEST(ReadStatistics, FramesAreCountedByTypeAndByteOrder) {
  const Bytes data = Concat({kNav, kNavLittle, Frame(elac::kParameterFrame, false), Frame(7, true),
                             Frame(16, true), Frame(4000, false)});
  std::istringstream stream(std::string(data.begin(), data.end()));
  elac::ReadStatistics statistics;
  ElacReader reader(nullptr, 0);
  reader.SetStatistics(&statistics);
  while (reader.ReadFrame(stream)) {
  }
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
  reader.SetStatistics(nullptr);
  EXPECT_TRUE(reader.DecodeFrame(kNav.data()));
  EXPECT_EQ(statistics.FramesDecoded(), 1u);
}

}  // namespace
