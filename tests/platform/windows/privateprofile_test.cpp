#include "platform/privateprofile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/tempdir.h"

namespace {

std::string ReadWholeFile(const std::string& path) {
  std::ifstream in(xsetest::Utf8Path(path), std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The system writes the file: its lines end in CR LF.
TEST(PrivateProfileWindowsTest, ANewFileHasTheSystemsLayout) {
  xsetest::TempDir dir;
  const std::string path = dir.File("settings.ini");
  ASSERT_TRUE(platform::WriteProfileString(path, "Survey", "Line", "12"));
  EXPECT_EQ(ReadWholeFile(path), "[Survey]\r\nLine=12\r\n");
}

}  // namespace
