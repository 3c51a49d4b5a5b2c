// The file run with real files: ElacFile sources made by the reader itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "interpreters/xsereader/zxsereader.h"
#include "support/tempdir.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using xsetest::EventRecorder;
using xsetest::PositionFrames;
using xsetest::TempDir;

class MultipleRunReaderTest : public ::testing::Test {
 protected:
  MultipleRunReaderTest() {
    reader_.SetObserver(&recorder_);
    reader_.running = 1;
  }

  TempDir dir_;
  EventRecorder recorder_;
  ZXSEReader reader_;
};

TEST_F(MultipleRunReaderTest, FilesThatDoNotOpenAreSkippedWithoutReport) {
  const std::string first = dir_.Write("first.xse", PositionFrames(3));
  const std::string empty = dir_.Write("empty.xse", {});
  const std::string third = dir_.Write("third.xse", PositionFrames(2));
  reader_.fileList = {first, dir_.File("missing.xse"), empty, third};
  EXPECT_EQ(reader_.MultipleRunReader(), 0);
  EXPECT_THAT(recorder_.outcomes(), ElementsAre("fileAdded " + first, "fileAdded " + third));
  EXPECT_THAT(reader_.fileList, IsEmpty());
  EXPECT_EQ(reader_.currentFileName, third);
  EXPECT_FALSE(reader_.HasContainer());
}

TEST_F(MultipleRunReaderTest, EachFileReportsFromZeroToHundredPercent) {
  const auto bytes = PositionFrames(4);
  const std::string file = dir_.Write("one.xse", bytes);
  reader_.fileList = {file};
  ASSERT_EQ(reader_.MultipleRunReader(), 0);
  const auto events = recorder_.events();
  ASSERT_GE(events.size(), 3u);
  const std::string total = std::to_string(bytes.size());
  EXPECT_EQ(events.front(), "progress 0 0 " + total);
  EXPECT_THAT(events[events.size() - 2], ::testing::StartsWith("progress 100 "));
  EXPECT_EQ(events.back(), "fileAdded " + file);
}

TEST_F(MultipleRunReaderTest, RecordsFixTheStartTime) {
  reader_.fileList = {dir_.Write("nav.xse", PositionFrames(2, 1660867200, 250000))};
  ASSERT_EQ(reader_.MultipleRunReader(), 0);
  EXPECT_EQ(reader_.startTimeSet, 1);
  EXPECT_EQ(reader_.startTimeSec, 1660867200);
  EXPECT_EQ(reader_.startTimeMs, 250);
  EXPECT_NE(reader_.primaryHeading(), -1.0);
}

TEST_F(MultipleRunReaderTest, StoppedReaderReadsNothing) {
  reader_.fileList = {dir_.Write("a.xse", PositionFrames(1))};
  reader_.running = 0;
  EXPECT_EQ(reader_.MultipleRunReader(), -1);
  EXPECT_THAT(recorder_.events(), IsEmpty());
  EXPECT_EQ(reader_.fileList.size(), 1u);
}

TEST_F(MultipleRunReaderTest, TruncatedLastFrameStillCountsAsRead) {
  auto bytes = PositionFrames(3);
  bytes.resize(bytes.size() - 10);
  const std::string file = dir_.Write("cut.xse", bytes);
  reader_.fileList = {file};
  EXPECT_EQ(reader_.MultipleRunReader(), 0);
  EXPECT_THAT(recorder_.outcomes(), ElementsAre("fileAdded " + file));
}

}  // namespace
