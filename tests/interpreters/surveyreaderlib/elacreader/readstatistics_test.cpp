// The counts a reader keeps for tools that summarise data: frames decoded by
// type and byte order, frame starts that led to no frame, and the bytes of
// the frames read, from which a tool tells the bytes it skipped.
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"

#include <gtest/gtest.h>

#include <tuple>

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

TEST(ReadStatistics, CountsWhatTheSearchMet) {
  // Start marker, S = 8 (too short for type and time), 8 bytes, end marker.
  const Bytes headerless = {'$', 'H', 'S', 'F', 0, 0, 0,   8,   0,   0,
                            0,   1,   0,   0,   0, 0, '#', 'H', 'S', 'F'};
  const uint64_t size = kNav.size();
  // Data, frames decoded, frames rejected, frame bytes.
  const std::tuple<Bytes, uint64_t, uint64_t, uint64_t> kCases[] = {
      {Concat({kNav, HeadingFrame(false)}), 2, 0, 2 * size},
      {Concat({Bytes(8, 0xAA), kNav}), 1, 0, size},                       // junk is no frame
      {Concat({Patched(51, 'X'), kNav}), 1, 1, size},                     // damaged end marker
      {Concat({Patched(4, 0x7F), kNav}), 1, 1, size},                     // absurd size
      {Concat({kNav, Bytes(kNav.begin(), kNav.end() - 3)}), 1, 1, size},  // cut
      {Concat({headerless, kNav}), 1, 1, size}};
  int row = 0;
  for (const auto& [data, decoded, rejected, frameBytes] : kCases) {
    SCOPED_TRACE(row++);
    const auto statistics = ReadAll(data);
    EXPECT_EQ(statistics.FramesDecoded(), decoded);
    EXPECT_EQ(statistics.framesRejected, rejected);
    EXPECT_EQ(statistics.frameBytes, frameBytes);
    EXPECT_EQ(statistics.bigEndianFrames + statistics.littleEndianFrames, decoded);
  }
}

TEST(ReadStatistics, FramesAreCountedByTypeAndByteOrderAndFromMemoryWithoutBytes) {
  auto frame = [](uint32_t type, bool big) { return xsetest::WriteFrame(big, type, [](auto&) {}); };
  auto statistics = ReadAll(Concat({kNav, HeadingFrame(false), frame(4, false), frame(7, true),
                                    frame(16, true), frame(4000, false)}));
  const uint64_t streamBytes = statistics.frameBytes;
  ElacReader reader(nullptr, 0);
  reader.SetStatistics(&statistics);
  EXPECT_TRUE(reader.DecodeFrame(kNav.data()));
  EXPECT_EQ(statistics.frameBytes, streamBytes) << "a frame from memory adds no stream bytes";
  EXPECT_EQ(statistics.framesByType[elac::kNavigationFrame], 3u);
  EXPECT_EQ(statistics.framesByType[elac::kParameterFrame], 1u);
  EXPECT_EQ(statistics.framesByType[7], 1u);
  EXPECT_EQ(statistics.framesByType[elac::ReadStatistics::kOtherFrameTypes], 2u);
  EXPECT_EQ(statistics.bigEndianFrames, 4u);
  EXPECT_EQ(statistics.littleEndianFrames, 3u);
}

}  // namespace
