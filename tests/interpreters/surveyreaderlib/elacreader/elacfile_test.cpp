#include "interpreters/surveyreaderlib/elacreader/elacfile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "support/recordingtarget.h"
#include "support/tempdir.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using xsetest::RecordingTarget;
using xsetest::TempDir;
using xsewriter::FrameWriter;

std::vector<uint8_t> HeadingFrame(bool bigEndian, int extraHeaderWords = 0) {
  FrameWriter writer(bigEndian);
  writer.BeginFrame(elac::kNavigationFrame, 3838320000u, 0);
  for (int i = 0; i < extraHeaderWords; ++i) writer.PutU32(0);
  xsewriter::PutHeadingGroup(writer, 1.0);
  const auto frame = writer.EndFrame();
  return {frame.begin(), frame.end()};
}

std::vector<uint8_t> Concat(std::initializer_list<std::vector<uint8_t>> parts) {
  std::vector<uint8_t> all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// Size field L of a frame.
int32_t SizeField(const std::vector<uint8_t>& frame) {
  return static_cast<int32_t>(frame.size()) - 12;
}

TEST(ElacFile, TwoFramesBackToBackReportTheBytesEachStepConsumed) {
  TempDir dir;
  const auto first = HeadingFrame(true);
  const auto second = HeadingFrame(false, 5);
  const auto path = dir.Write("two.xse", Concat({first, second}));
  RecordingTarget target;
  ElacFile file(&target);
  ASSERT_TRUE(file.Open(path.c_str()));
  EXPECT_EQ(file.GetSize(), first.size() + second.size());

  int32_t processed = 0;
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, 8 + SizeField(first));
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, 4 + 8 + SizeField(second));
  EXPECT_FALSE(file.receiveData(processed, 0));
  EXPECT_LT(processed, 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(file.receiveData(processed, 12345));
    EXPECT_EQ(processed, 0);
  }
  EXPECT_EQ(target.Count<quor::GyroRec>(), 2u);
}

TEST(ElacFile, JunkBeforeTheFirstFrameCountsInTheFirstStep) {
  TempDir dir;
  const auto frame = HeadingFrame(true);
  const auto path = dir.Write("junk.xse", Concat({std::vector<uint8_t>(12, 0), frame}));
  ElacFile file;
  ASSERT_TRUE(file.Open(path.c_str()));
  int32_t processed = 0;
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, 12 + 8 + SizeField(frame));
}

TEST(ElacFile, EmptyFileFailsToOpenButStaysOpen) {
  TempDir dir;
  const auto path = dir.Write("empty.xse", {});
  ElacFile file;
  EXPECT_FALSE(file.Open(path.c_str()));
  EXPECT_TRUE(file.IsOpen());
  file.Close();
  EXPECT_FALSE(file.IsOpen());
}

TEST(ElacFile, MissingFileFailsWithAReason) {
  TempDir dir;
  ElacFile file;
  EXPECT_FALSE(file.Open(dir.File("missing.xse").c_str()));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.openError(), "No such file or directory");
  EXPECT_FALSE(file.Open(dir.path().c_str()));
  EXPECT_EQ(file.openError(), "Is a directory");
}

TEST(ElacFile, SecondOpenFailsAndLeavesTheStreamFailed) {
  TempDir dir;
  const auto path = dir.Write("one.xse", HeadingFrame(true));
  RecordingTarget target;
  ElacFile file(&target);
  ASSERT_TRUE(file.Open(path.c_str()));
  EXPECT_FALSE(file.Open(path.c_str()));
  EXPECT_TRUE(file.IsOpen());
  int32_t processed = 1;
  EXPECT_FALSE(file.receiveData(processed, 0));
  EXPECT_LE(processed, 0);
  EXPECT_TRUE(target.calls.empty());
}

TEST(ElacFile, SizeIsMeasuredOnceAndKeptAfterClose) {
  TempDir dir;
  const auto path = dir.Write("big.xse", std::vector<uint8_t>(100000, 0));
  ElacFile file;
  EXPECT_EQ(file.GetSize(), 0u);
  ASSERT_TRUE(file.Open(path.c_str()));
  EXPECT_EQ(file.GetSize(), 100000u);
  file.Close();
  EXPECT_EQ(file.GetSize(), 100000u);
}

TEST(ElacFile, FileEndingInsideAFrameDeliversTheFramesBeforeIt) {
  TempDir dir;
  auto cut = HeadingFrame(true);
  cut.resize(cut.size() - 3);
  const auto path = dir.Write("cut.xse", Concat({HeadingFrame(false), cut}));
  RecordingTarget target;
  ElacFile file(&target);
  ASSERT_TRUE(file.Open(path.c_str()));
  int32_t processed = 0;
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_FALSE(file.receiveData(processed, 0));
  EXPECT_EQ(target.Count<quor::GyroRec>(), 1u);
}

TEST(ElacFile, RejectedFrameStillCountsAsConsumed) {
  TempDir dir;
  auto damaged = HeadingFrame(true);
  damaged.back() = 0;
  const auto good = HeadingFrame(true);
  const auto path = dir.Write("damaged.xse", Concat({damaged, good}));
  RecordingTarget target;
  ElacFile file(&target);
  ASSERT_TRUE(file.Open(path.c_str()));
  int32_t processed = 0;
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, static_cast<int32_t>(damaged.size()));
  EXPECT_TRUE(target.calls.empty());
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(target.Count<quor::GyroRec>(), 1u);
}

TEST(ElacFile, ManyFramesReadThroughTheBufferBoundaries) {
  // Frames straddle the stream's read buffer many times over; every one is
  // found and the consumed counts add up to the file.
  TempDir dir;
  std::vector<uint8_t> all;
  for (int i = 0; i < 20000; ++i) {
    const auto frame = HeadingFrame(i % 2 == 0, i % 7);
    all.insert(all.end(), frame.begin(), frame.end());
  }
  const auto path = dir.Write("many.xse", all);
  RecordingTarget target;
  ElacFile file(&target);
  ASSERT_TRUE(file.Open(path.c_str()));
  int64_t total = 0;
  int32_t processed = 0;
  while (file.receiveData(processed, 0)) total += processed;
  EXPECT_EQ(total, static_cast<int64_t>(all.size()) - 4);
  EXPECT_EQ(target.Count<quor::GyroRec>(), 20000u);
}

}  // namespace
