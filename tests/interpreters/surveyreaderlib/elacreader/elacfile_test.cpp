#include "interpreters/surveyreaderlib/elacreader/elacfile.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>

#include "grouptestsupport.h"
#include "support/tempdir.h"

namespace {

using xsetest::Bytes;
using xsetest::HeadingFrame;

// Each step reports the bytes it consumed: junk counts in the first, and
// each stops on its frame's end marker, which the next consumes. The call
// that meets the end reports a negative count, later ones 0. The texts of
// other failed opens are pinned through the library and the tools.
TEST(ElacFile, StepsReportWhatTheyConsumedAndOpenFailsWithAReason) {
  xsetest::TempDir dir;
  xsetest::RecordingTarget target;
  ElacFile file(&target);
  EXPECT_FALSE(file.Open(dir.File("missing.xse").c_str()));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_EQ(file.openError(), "No such file or directory");
  const auto first = HeadingFrame(std::endian::big),
             second = HeadingFrame(std::endian::little, 0, 5);
  const auto path = dir.Write("two.xse", xsetest::Concat({Bytes(12, 0), first, second}));
  ASSERT_TRUE(file.Open(path.c_str()));
  EXPECT_EQ(file.GetSize(), 12 + first.size() + second.size());
  int32_t processed = 0;
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, static_cast<int32_t>(12 + first.size() - 4));
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, static_cast<int32_t>(second.size()));
  EXPECT_FALSE(file.receiveData(processed, 0));
  EXPECT_LT(processed, 0);
  EXPECT_FALSE(file.receiveData(processed, 12345));
  EXPECT_EQ(processed, 0);
  EXPECT_EQ(target.Count<quor::GyroRec>(), 2u);
  // A second open fails; the size outlives Close.
  EXPECT_FALSE(file.Open(path.c_str()));
  EXPECT_TRUE(file.IsOpen());
  file.Close();
  EXPECT_EQ(file.GetSize(), 12 + first.size() + second.size());
  // An empty file fails to open but stays open.
  EXPECT_FALSE(file.Open(dir.Write("empty.xse", {}).c_str()));
  EXPECT_TRUE(file.IsOpen());
}

// A sparse file: a frame, 4 GiB of zeros, a frame. Sizes and counts beyond
// the 32-bit interface saturate; the frame behind the zeros is still read.
TEST(ElacFile, FramesPastFourGibibytesAreReadAndSizesSaturate) {
  xsetest::TempDir dir;
  const auto frame = HeadingFrame(std::endian::big);
  const std::string path = dir.Write("sparse.xse", frame);
  const uint64_t second = (uint64_t{1} << 32) + 16;
  {
    std::fstream out(path, std::ios::in | std::ios::out | std::ios::binary);
    out.seekp(static_cast<std::streamoff>(second));
    out.write(reinterpret_cast<const char*>(frame.data()),
              static_cast<std::streamsize>(frame.size()));
    ASSERT_TRUE(out.good());
  }
  xsetest::RecordingTarget target;
  ElacFile file(&target);
  ASSERT_TRUE(file.Open(path.c_str()));
  EXPECT_EQ(file.size64(), second + frame.size());
  EXPECT_EQ(file.GetSize(), UINT32_MAX);
  int32_t processed = 0;
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_TRUE(file.receiveData(processed, 0));
  EXPECT_EQ(processed, INT32_MAX);
  EXPECT_EQ(target.Count<quor::GyroRec>(), 2u);
  EXPECT_FALSE(file.receiveData(processed, 0));
}

}  // namespace
