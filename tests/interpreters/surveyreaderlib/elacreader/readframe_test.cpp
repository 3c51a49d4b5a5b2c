// Frame search over byte streams: what ReadFrame consumes is what the data
// sources hand over, so positions are asserted exactly.
#include <gtest/gtest.h>

#include "grouptestsupport.h"

namespace {

using xsetest::Bytes;
using xsetest::Concat;
using xsetest::HeadingFrame;
using xsetest::RecordingTarget;

class JunkBeforeFrameTest : public ::testing::TestWithParam<size_t> {};

TEST_P(JunkBeforeFrameTest, SearchAdvancesInStepsOfFourBytes) {
  const Bytes junk(GetParam(), 0xAA);
  const bool aligned = GetParam() % 4 == 0;
  const auto frame = HeadingFrame(true);
  auto stream = xsetest::StreamOf(Concat({junk, frame}));
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_EQ(reader.ReadFrame(stream), aligned);
  if (aligned) {
    EXPECT_EQ(stream.tellg(), static_cast<std::streamoff>(junk.size() + frame.size() - 4));
  } else {
    EXPECT_TRUE(stream.eof());
  }
  EXPECT_EQ(target.calls.size(), aligned ? 2u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Alignments, JunkBeforeFrameTest, ::testing::Values(3, 4));

TEST(ReadFrame, StreamEndingInsideAFrameEndsTheSearch) {
  auto cut = HeadingFrame(true, 2.0);
  cut.resize(30);
  auto stream = xsetest::StreamOf(Concat({HeadingFrame(true, 1.0), cut}));
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_TRUE(reader.ReadFrame(stream));
  EXPECT_FALSE(reader.ReadFrame(stream));
  EXPECT_FALSE(stream.good()) << "a string stream cannot seek past its end";
  EXPECT_FALSE(reader.ReadFrame(stream));
  EXPECT_EQ(target.Count<quor::GyroRec>(), 1u);
}

TEST(ReadFrame, AbsurdFrameSizeIsPassedOverWithoutAllocating) {
  auto huge = HeadingFrame(true, 1.0);
  huge[4] = 0x7F;  // S near 2 GiB
  auto stream = xsetest::StreamOf(Concat({huge, HeadingFrame(true, 2.0)}));
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_FALSE(reader.ReadFrame(stream));
  EXPECT_EQ(stream.tellg(), 8) << "only the start marker and the size are consumed";
  EXPECT_EQ(reader.frameBufferSize(), 0u);
  // The rest of the lying frame is searched like junk; the next frame is found.
  while (!reader.ReadFrame(stream) && stream.good()) {
  }
  EXPECT_EQ(target.Count<quor::GyroRec>(), 1u);
  EXPECT_EQ(target.Nth<quor::GyroRec>()->heading, 2.0 * elac::kRadiansToDegrees);
}

TEST(ReadFrame, StreamErrorEndsTheSearch) {
  auto stream = xsetest::StreamOf(HeadingFrame(true));
  stream.setstate(std::ios_base::badbit);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_FALSE(reader.ReadFrame(stream));
  EXPECT_TRUE(target.calls.empty());
}

}  // namespace
