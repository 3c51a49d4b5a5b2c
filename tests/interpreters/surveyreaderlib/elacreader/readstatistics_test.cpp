// The counts a reader keeps for tools that summarise data: frames decoded by
// type and byte order, frame starts that led to no frame, and the bytes of
// the frames read, from which a tool tells the bytes it skipped.
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"

#include <gtest/gtest.h>

#include "grouptestsupport.h"

namespace {

using xsetest::Bytes;

TEST(ReadStatistics, CountsFramesByTypeAndOrderAndTheStartsThatLedNowhere) {
  const Bytes nav = xsetest::HeadingFrame(true);
  Bytes badEnd = nav, absurd = nav;
  badEnd.back() = 'X';
  absurd[4] = 0x7F;
  // Start marker, S = 8 (too short for type and time), 8 bytes, end marker.
  const Bytes headerless = {'$', 'H', 'S', 'F', 0, 0, 0,   8,   0,   0,
                            0,   1,   0,   0,   0, 0, '#', 'H', 'S', 'F'};
  const auto empty = [](uint32_t type, bool big) {
    return xsetest::WriteFrame(big, type, [](auto&) {});
  };
  const Bytes decoded[] = {nav,
                           xsetest::HeadingFrame(false),
                           empty(4, false),
                           empty(7, true),
                           empty(16, true),
                           empty(4000, false)};
  uint64_t decodedBytes = 0;
  for (const auto& frame : decoded) decodedBytes += frame.size();
  // Junk is no frame; a bad end marker, a lying size, a frame too short
  // for its header and a cut frame are rejected starts.
  auto stream = xsetest::StreamOf(xsetest::Concat(
      {decoded[0], Bytes(8, 0xAA), badEnd, decoded[1], absurd, decoded[2], headerless, decoded[3],
       decoded[4], decoded[5], Bytes(nav.begin(), nav.end() - 3)}));
  elac::ReadStatistics statistics;
  ElacReader reader(nullptr, 0);
  reader.SetStatistics(&statistics);
  for (int i = 0; i < 100 && stream.good(); ++i) reader.ReadFrame(stream);
  EXPECT_EQ(statistics.FramesDecoded(), 6u);
  EXPECT_EQ(statistics.framesRejected, 4u);
  EXPECT_EQ(statistics.frameBytes, decodedBytes);
  EXPECT_EQ(statistics.framesByType[elac::kNavigationFrame], 2u);
  EXPECT_EQ(statistics.framesByType[elac::kParameterFrame], 1u);
  EXPECT_EQ(statistics.framesByType[7], 1u);
  EXPECT_EQ(statistics.framesByType[elac::ReadStatistics::kOtherFrameTypes], 2u);
  EXPECT_EQ(statistics.bigEndianFrames, 3u);
  EXPECT_EQ(statistics.littleEndianFrames, 3u);
  EXPECT_TRUE(reader.DecodeFrame(nav.data()));
  EXPECT_EQ(statistics.FramesDecoded(), 7u);
  EXPECT_EQ(statistics.frameBytes, decodedBytes) << "a frame from memory adds no stream bytes";
}

}  // namespace
