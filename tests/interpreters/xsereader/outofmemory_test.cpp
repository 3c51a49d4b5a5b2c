// A file check and a file run that cannot get memory for their source.
// While the test asks for it, large requests on its thread fail.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "allocationcount/allocationcount.h"
#include "interpreters/xsereader/xsereadertestsupport.h"
#include "interpreters/xsereader/zxsereader.h"
#include "libsys/libsystestsupport.h"
#include "support/tempdir.h"

namespace {

constexpr std::size_t kLarge = std::size_t{64} * 1024;

// The file's read buffer is the large request here: without it the file
// check answers no, and a file run ends with a box instead of the thread.
TEST(OutOfMemoryTest, SourceThatCannotGetMemoryIsNotReadAndEndsTheRunWithABox) {
  if (!xsealloc::kCountsAllocations) GTEST_SKIP() << "the sanitizer owns operator new here";
  xsetest::TempDir dir;
  ZXSEReader reader;
  xsetest::EventRecorder recorder;
  reader.SetObserver(&recorder);
  reader.running = 1;
  const std::string file = dir.Write("a.xse", xsetest::PositionFrames(2));
  reader.fileList = {file, file};
  libsystest::CollectedBoxes boxes;
  ASSERT_EQ(ZXSEReader::sCanReadFile(file, 1), 1);

  xsealloc::FailAllocationsFrom(kLarge);
  const int32_t canRead = ZXSEReader::sCanReadFile(file, 1);
  const int32_t result = reader.MultipleRunReader();
  xsealloc::FailAllocationsFrom(0);

  EXPECT_EQ(canRead, 0);
  EXPECT_EQ(result, -1);
  EXPECT_THAT(boxes, ::testing::ElementsAre(::testing::Pair("XSEReader", "Out of memory.")));
  EXPECT_EQ(recorder.events(), "");
  EXPECT_EQ(reader.currentFileName, file);
  EXPECT_EQ(reader.fileList.size(), 1u);
  EXPECT_FALSE(reader.HasContainer());
}

}  // namespace
