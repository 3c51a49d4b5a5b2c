#include "platform/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/tempdir.h"

namespace platform {
namespace {

// Opening a FIFO for reading would wait for a writer.
TEST(ReadOnlyFilePosixTest, RefusesAFifoWithoutWaitingForAWriter) {
  xsetest::TempDir dir;
  const std::string path = dir.File("fifo");
  ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
  ReadOnlyFile file;
  EXPECT_FALSE(file.Open(path));
  EXPECT_EQ(file.error(), ReadOnlyFile::kNotARegularFile);
}

}  // namespace
}  // namespace platform
