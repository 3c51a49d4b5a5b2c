// Frame search over byte streams: what ReadFrame consumes is what the data
// sources hand over, so positions are asserted exactly.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/recordingtarget.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using ::testing::ElementsAre;
using xsetest::RecordingTarget;
using xsewriter::FrameWriter;

constexpr uint32_t kFrameSeconds = 3838320000u;

std::vector<uint8_t> HeadingFrame(bool bigEndian, double heading) {
  FrameWriter writer(bigEndian);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds, 0);
  xsewriter::PutHeadingGroup(writer, heading);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

std::istringstream StreamOf(const std::vector<uint8_t>& bytes) {
  return std::istringstream(std::string(bytes.begin(), bytes.end()));
}

std::vector<uint8_t> Concat(std::initializer_list<std::vector<uint8_t>> parts) {
  std::vector<uint8_t> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

TEST(ReadFrame, DamagedEndMarkerSkipsTheFrameAndTheNextIsFound) {
  auto damaged = HeadingFrame(true, 1.0);
  damaged.back() = 'X';
  const auto good = HeadingFrame(false, 0.5);
  auto stream = StreamOf(Concat({damaged, good}));
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_FALSE(reader.ReadFrame(stream));
  EXPECT_EQ(stream.tellg(), static_cast<std::streamoff>(damaged.size()))
      << "the search resumes just behind the bad end marker";
  EXPECT_TRUE(target.calls.empty());
  EXPECT_TRUE(reader.ReadFrame(stream));
  EXPECT_THAT(target.Kinds(), ElementsAre("startTime", "gyro"));
  EXPECT_EQ(target.Nth<quor::GyroRec>()->heading, 0.5 * elac::kRadiansToDegrees);
}

struct JunkCase {
  size_t junkBytes;
  bool frameFound;
};

class JunkBeforeFrameTest : public ::testing::TestWithParam<JunkCase> {};

TEST_P(JunkBeforeFrameTest, SearchAdvancesInStepsOfFourBytes) {
  const std::vector<uint8_t> junk(GetParam().junkBytes, 0xAA);
  const auto frame = HeadingFrame(true, 1.0);
  auto stream = StreamOf(Concat({junk, frame}));
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_EQ(reader.ReadFrame(stream), GetParam().frameFound);
  if (GetParam().frameFound) {
    EXPECT_EQ(stream.tellg(), static_cast<std::streamoff>(junk.size() + frame.size() - 4));
  } else {
    EXPECT_TRUE(stream.eof());
  }
  EXPECT_EQ(target.calls.size(), GetParam().frameFound ? 2u : 0u);
}

INSTANTIATE_TEST_SUITE_P(Alignments, JunkBeforeFrameTest,
                         ::testing::Values(JunkCase{0, true}, JunkCase{1, false},
                                           JunkCase{2, false}, JunkCase{3, false},
                                           JunkCase{4, true}, JunkCase{40, true},
                                           JunkCase{41, false}));

TEST(ReadFrame, StreamEndingInsideAFrameEndsTheSearch) {
  const auto first = HeadingFrame(true, 1.0);
  auto second = HeadingFrame(true, 2.0);
  second.resize(30);
  auto stream = StreamOf(Concat({first, second}));
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
  const auto good = HeadingFrame(true, 2.0);
  auto stream = StreamOf(Concat({huge, good}));
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
  auto stream = StreamOf(HeadingFrame(true, 1.0));
  stream.setstate(std::ios_base::badbit);
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_FALSE(reader.ReadFrame(stream));
  EXPECT_TRUE(target.calls.empty());
}

TEST(ReadFrame, FrameBufferGrowsToTheLargestFrameAndIsReused) {
  FrameWriter writer(true);
  writer.BeginFrame(elac::kNavigationFrame, kFrameSeconds, 0);
  for (int i = 0; i < 100; ++i) writer.PutU32(0);
  xsewriter::PutHeadingGroup(writer, 1.0);
  const auto large = writer.EndFrame();
  const std::vector<uint8_t> largeFrame(large.begin(), large.end());
  auto stream = StreamOf(Concat({HeadingFrame(true, 1.0), largeFrame, HeadingFrame(true, 1.0)}));
  ElacReader reader(nullptr, 0);
  ASSERT_TRUE(reader.ReadFrame(stream));
  EXPECT_EQ(reader.frameBufferSize(), 48u);
  ASSERT_TRUE(reader.ReadFrame(stream));
  EXPECT_EQ(reader.frameBufferSize(), largeFrame.size() - 4);
  ASSERT_TRUE(reader.ReadFrame(stream));
  EXPECT_EQ(reader.frameBufferSize(), largeFrame.size() - 4);
}

}  // namespace
