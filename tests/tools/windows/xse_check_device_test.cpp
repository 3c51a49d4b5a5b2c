// `xse check`, `info` and `dump` on a device (NUL): answered at once, never
// opened for reading.
#include <gtest/gtest.h>

#include <string>

#include "support/runtool.h"

namespace {

using namespace xsetest;

TEST(XseCheck, ADeviceIsNoAtOnce) {
  const std::string cannotOpen = "xse: cannot open NUL: not a regular file\n";
  EXPECT_EQ(RunXse({"check", "NUL"}), (ToolResult{1, "NUL: no\n", cannotOpen}));
  for (const char* command : {"info", "dump"})
    EXPECT_EQ(RunXse({command, "NUL"}), (ToolResult{1, "", cannotOpen})) << command;
}

}  // namespace
