#include "platform/privateprofile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include "support/tempdir.h"

namespace {

// This layer edits the file itself: every byte but the changed value stays,
// and new lines take the file's own line breaks.
TEST(PrivateProfilePosixTest, WriteChangesOnlyWhatItMust) {
  xsetest::TempDir dir;
  const std::string path = dir.File("settings.ini");
  // Content before (null: no file), section, key, value, content after.
  const std::tuple<const char*, const char*, const char*, const char*, const char*> kCases[] = {
      {nullptr, "Sec", "Key", "v", "[Sec]\nKey=v\n"},
      {"; c\n[sec]\nKEY = old value\nB=1\n", "Sec", "key", "new", "; c\n[sec]\nKEY = new\nB=1\n"},
      {"[A]\nx=1\n\n; about B\n[B]\ny=2\n", "A", "z", "3",
       "[A]\nx=1\nz=3\n\n; about B\n[B]\ny=2\n"},
      {"[A]\nx=1", "A", "y", "2", "[A]\nx=1\ny=2\n"},
      {"; top\n[A]\nx=1\n", "B", "k", "v", "; top\n[A]\nx=1\n[B]\nk=v\n"},
      {"[A]\r\nx=1\r\n", "A", "y", "2", "[A]\r\nx=1\r\ny=2\r\n"},
      {"[A]\r\nx=1\r\n", "A", "x", "22", "[A]\r\nx=22\r\n"},
      {"\xEF\xBB\xBF[A]\nx=1\n", "a", "x", "2", "\xEF\xBB\xBF[A]\nx=2\n"}};
  for (const auto& [before, section, key, value, after] : kCases) {
    std::filesystem::remove(path);
    if (before != nullptr) std::ofstream(path, std::ios::binary) << before;
    ASSERT_TRUE(platform::WriteProfileString(path, section, key, value)) << after;
    EXPECT_EQ(xsetest::ReadWholeFile(path), after);
  }
}

}  // namespace
