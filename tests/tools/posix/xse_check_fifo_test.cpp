// `xse check`, `info` and `dump` on a FIFO: answered at once, never opened
// for reading (which would wait for a writer).
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using namespace xsetest;

TEST(XseCheck, AFifoIsNoAtOnce) {
  TempDir dir;
  const std::string fifo = dir.File("pipe.xse");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const std::string cannotOpen = "xse: cannot open " + fifo + ": not a regular file\n";
  EXPECT_EQ(RunXse({"check", fifo}), (ToolResult{1, fifo + ": no\n", cannotOpen}));
  for (const char* command : {"info", "dump"})
    EXPECT_EQ(RunXse({command, fifo}), (ToolResult{1, "", cannotOpen})) << command;
}

}  // namespace
