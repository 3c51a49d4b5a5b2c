#include "interpreters/surveyreaderlib/elacreader/elacfile.h"

#include <gtest/gtest.h>

#include "grouptestsupport.h"
#include "support/tempdir.h"

namespace {

using xsetest::Bytes;
using xsetest::HeadingFrame;

TEST(ElacFile, EachStepReportsTheBytesItConsumedThenTheEnd) {
  xsetest::TempDir dir;
  const auto first = HeadingFrame(true);
  const auto second = HeadingFrame(false, 1.0, 5);
  xsetest::RecordingTarget target;
  ElacFile file(&target);
  const auto path = dir.Write("two.xse", xsetest::Concat({Bytes(12, 0), first, second}));
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
  EXPECT_FALSE(file.receiveData(processed, 12345));
  EXPECT_EQ(processed, 0);
  EXPECT_EQ(target.Count<quor::GyroRec>(), 2u);
}

TEST(ElacFile, OpenMeasuresTheSizeOnceAndFailsWithAReason) {
  xsetest::TempDir dir;
  xsetest::RecordingTarget target;
  ElacFile file(&target);
  EXPECT_FALSE(file.Open(dir.File("missing.xse").c_str()));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.openError(), "No such file or directory");
  EXPECT_FALSE(file.Open(dir.path().c_str()));
  EXPECT_EQ(file.openError(), "Is a directory");
  const auto path = dir.Write("big.xse", Bytes(100000, 0));
  ASSERT_TRUE(file.Open(path.c_str()));
  EXPECT_EQ(file.GetSize(), 100000u);
  // A second open fails and leaves the stream failed; the size is kept.
  EXPECT_FALSE(file.Open(path.c_str()));
  EXPECT_TRUE(file.IsOpen());
  int32_t processed = 1;
  EXPECT_FALSE(file.receiveData(processed, 0));
  EXPECT_LE(processed, 0);
  file.Close();
  EXPECT_EQ(file.GetSize(), 100000u);
  // An empty file fails to open but stays open.
  EXPECT_FALSE(file.Open(dir.Write("empty.xse", {}).c_str()));
  EXPECT_TRUE(file.IsOpen());
  EXPECT_TRUE(target.calls.empty());
}

}  // namespace
