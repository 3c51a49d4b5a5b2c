#include "platform/privateprofile.h"

#include <gtest/gtest.h>

#include <string>

#include "support/tempdir.h"

namespace {

// The system writes the file: its lines end in CR LF.
TEST(PrivateProfileWindowsTest, ANewFileHasTheSystemsLayout) {
  xsetest::TempDir dir;
  const std::string path = dir.File("settings.ini");
  ASSERT_TRUE(platform::WriteProfileString(path, "Survey", "Line", "12"));
  EXPECT_EQ(xsetest::ReadWholeFile(path), "[Survey]\r\nLine=12\r\n");
}

}  // namespace
