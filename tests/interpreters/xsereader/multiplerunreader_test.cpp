// The file run with real files: ElacFile sources made by the reader itself.
// Skipped files, a stop and an empty list are run through the loaded module
// (module_test.cpp).
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "interpreters/xsereader/zxsereader.h"
#include "support/tempdir.h"

namespace {

using ::testing::ElementsAre;
using xsetest::PositionFrames;

class MultipleRunReaderTest : public ::testing::Test {
 protected:
  MultipleRunReaderTest() {
    reader_.SetObserver(&recorder_);
    reader_.running = 1;
  }

  xsetest::TempDir dir_;
  xsetest::EventRecorder recorder_;
  ZXSEReader reader_;
};

TEST_F(MultipleRunReaderTest, FileRunsFromZeroToHundredPercentAndItsRecordsFixTheStartTime) {
  const auto bytes = PositionFrames(4, 1660867200, 250000);
  const std::string file = dir_.Write("nav.xse", bytes);
  reader_.fileList = {file};
  ASSERT_EQ(reader_.MultipleRunReader(), 0);
  const auto events = recorder_.events();
  ASSERT_GE(events.size(), 3u);
  EXPECT_EQ(events.front(), "progress 0 0 " + std::to_string(bytes.size()));
  EXPECT_THAT(events[events.size() - 2], ::testing::StartsWith("progress 100 "));
  EXPECT_EQ(events.back(), "fileAdded " + file);
  EXPECT_FALSE(reader_.HasContainer());
  EXPECT_EQ(reader_.startTimeSet, 1);
  EXPECT_EQ(reader_.startTimeSec, 1660867200);
  EXPECT_EQ(reader_.startTimeMs, 250);
  EXPECT_NE(reader_.primaryHeading(), -1.0);
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
