#include "interpreters/surveyreaderlib/elacreader/elacfile.h"

#include <gtest/gtest.h>

#include "grouptestsupport.h"
#include "support/tempdir.h"

namespace {

using xsetest::Bytes;
using xsetest::HeadingFrame;
using xsetest::RecordingTarget;
using xsetest::TempDir;

TEST(ElacFile, EachStepReportsTheBytesItConsumedThenTheEnd) {
  TempDir dir;
  const auto first = HeadingFrame(true);
  const auto second = HeadingFrame(false, 1.0, 5);
  const auto path = dir.Write("two.xse", xsetest::Concat({Bytes(12, 0), first, second}));
  RecordingTarget target;
  ElacFile file(&target);
  ASSERT_TRUE(file.Open(path.c_str()));
  int32_t processed = 0;
  // Junk counts in the first step; each step stops on the frame's end
  // marker, which the next step consumes.
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, static_cast<int32_t>(12 + first.size() - 4));
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, static_cast<int32_t>(second.size()));
  EXPECT_FALSE(file.receiveData(processed, 0));
  EXPECT_LT(processed, 0);
  for (int i = 0; i < 2; ++i) {
    EXPECT_FALSE(file.receiveData(processed, 12345));
    EXPECT_EQ(processed, 0);
  }
  EXPECT_EQ(target.Count<quor::GyroRec>(), 2u);
}

TEST(ElacFile, SizeIsMeasuredAtOpenAndKeptAfterClose) {
  TempDir dir;
  ElacFile file;
  EXPECT_EQ(file.GetSize(), 0u);
  ASSERT_TRUE(file.Open(dir.Write("big.xse", Bytes(100000, 0)).c_str()));
  EXPECT_EQ(file.GetSize(), 100000u);
  file.Close();
  EXPECT_EQ(file.GetSize(), 100000u);
  // An empty file fails to open but stays open.
  EXPECT_FALSE(file.Open(dir.Write("empty.xse", {}).c_str()));
  EXPECT_TRUE(file.IsOpen());
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

}  // namespace
