#include "platform/privateprofile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>

#include "support/tempdir.h"

namespace {

class PrivateProfileTest : public ::testing::Test {
 protected:
  void WriteFile(const std::string& content) {
    std::ofstream(xsetest::Utf8Path(path_), std::ios::binary) << content;
  }

  xsetest::TempDir dir_;
  const std::string path_ = dir_.File("settings.ini");
};

TEST_F(PrivateProfileTest, ReadFindsTheValueOrGivesTheDefault) {
  // Content, section, key, value read; the default is "dflt".
  const std::tuple<const char*, const char*, const char*, const char*> kCases[] = {
      {"  [ PilotDesk ]  \n  Trace File \t=  x.log \t\n", " PILOTDESK ", "trace file\t", "x.log"},
      {"[Sec]\nKey= \"  q  \" \n", "Sec", "Key", "  q  "},
      {"[Sec]\nKey='q'\n", "Sec", "Key", "q"},
      {"[Sec]\nKey=\"q'\n", "Sec", "Key", "\"q'"},
      {"[Sec]\nKey=a=b\n", "Sec", "Key", "a=b"},
      {"[Sec]\nKey=\n", "Sec", "Key", ""},
      {"[Sec]\r\nKey=Value\r\n", "Sec", "Key", "Value"},
      {"[Sec]\nKey=Value", "Sec", "Key", "Value"},
      {"\xEF\xBB\xBF[Sec]\nKey=v\n", "Sec", "Key", "v"},
      {"[Sec]\n[Next]\nKey=1\n", "Sec", "Key", "dflt"},
      {"Key=1\n[Sec]\n", "Sec", "Key", "dflt"},
      {"[Sec]\n;Key=1\n", "Sec", "Key", "dflt"},
      {"[Sec]\nKey=1\nkey=2\n", "Sec", "Key", "1"},
      {"[Sec]\nA=1\n[Sec]\nKey=2\n", "Sec", "Key", "dflt"},
      {"[Sec]\n[broken\nKey=v\n", "Sec", "Key", "v"},
      {"[Sec]\n=v\n", "Sec", "", "dflt"}};
  for (const auto& [content, section, key, expected] : kCases) {
    WriteFile(content);
    EXPECT_EQ(platform::ReadProfileString(path_, section, key, "dflt"), expected) << content;
  }
}

TEST_F(PrivateProfileTest, DefaultsLoseTrailingBlanksAndValuesAreCutToTheBuffer) {
  EXPECT_EQ(platform::ReadProfileString(path_, "Sec", "Key", "  dflt \t"), "  dflt");
  EXPECT_EQ(platform::ReadProfileString(dir_.Folder(), "Sec", "Key", "dflt"), "dflt");
  WriteFile("[Sec]\nKey=" + std::string(300, 'v') + "\n");
  EXPECT_EQ(platform::ReadProfileString(path_, "Sec", "Key", ""), std::string(254, 'v'));
  EXPECT_EQ(platform::ReadProfileString(path_, "Sec", "Nope", std::string(300, 'd')),
            std::string(254, 'd'));
  EXPECT_EQ(platform::ReadProfileString(path_, "Sec", "Key", "", 4), "vvv");
  EXPECT_EQ(platform::ReadProfileString(path_, "Sec", "Key", "", 0), "");
}

TEST_F(PrivateProfileTest, HugeLinesAreSkippedNotStored) {
  const std::string huge(3 * platform::kMaxProfileLineLength, 'x');
  // A huge comment, a huge key line and a huge value; the line length cap
  // must not hide what follows them.
  WriteFile("[Sec]\n;" + huge + "\n" + huge + "=1\nBig=" + huge + "\nKey=v\n[" + huge);
  EXPECT_EQ(platform::ReadProfileString(path_, "Sec", "Key", "dflt"), "v");
  EXPECT_EQ(platform::ReadProfileString(path_, "Sec", "Big", "dflt"), std::string(254, 'x'));
}

// How the rest of the file is laid out afterwards is the system's (see
// the system folders); every other value stays.
TEST_F(PrivateProfileTest, WritesReadBackAndKeepEveryOtherValue) {
  struct Case {
    const char* before;  // null: no file
    const char* section;
    const char* key;
    const char* value;
    const char* otherSection;  // a value that must stay
    const char* otherKey;
    const char* otherValue;
  };
  const Case kCases[] = {
      {nullptr, "Sec", "Key", "v", "Sec", "Other", "dflt"},
      {"; c\n[sec]\nKEY = old value\nB=1\n", "Sec", "key", "new", "sec", "B", "1"},
      {"[A]\nx=1\n\n; about B\n[B]\ny=2\n", "A", "z", "3", "B", "y", "2"},
      {"[A]\nx=1", "A", "y", "2", "A", "x", "1"},
      {"; top\n[A]\nx=1\n", "B", "k", "v", "A", "x", "1"},
      {"[A]\r\nx=1\r\n", "A", "x", "22", "A", "x", "22"},
      {"\xEF\xBB\xBF[A]\nx=1\ny=3\n", "a", "x", "2", "A", "y", "3"}};
  for (const Case& c : kCases) {
    std::filesystem::remove(xsetest::Utf8Path(path_));
    if (c.before != nullptr) WriteFile(c.before);
    ASSERT_TRUE(platform::WriteProfileString(path_, c.section, c.key, c.value)) << c.key;
    EXPECT_EQ(platform::ReadProfileString(path_, c.section, c.key, "dflt"), c.value);
    EXPECT_EQ(platform::ReadProfileString(path_, c.otherSection, c.otherKey, "dflt"), c.otherValue)
        << c.key;
  }
}

TEST_F(PrivateProfileTest, RefusesWritesThatWouldNotReadBack) {
  const char* const kOriginal = "[A]\nx=1\n";
  WriteFile(kOriginal);
  // Section, key, value.
  const std::tuple<const char*, const char*, const char*> kRefused[] = {
      {" ", "k", "v"},  {"A", "", "v"},   {"A", "k=1", "v"},   {"A]", "k", "v"},
      {"A", ";k", "v"}, {"A", "[k", "v"}, {"A", "k", "v\nw=1"}};
  for (const auto& [section, key, value] : kRefused) {
    EXPECT_FALSE(platform::WriteProfileString(path_, section, key, value)) << section << "/" << key;
  }
  EXPECT_EQ(xsetest::ReadWholeFile(path_), kOriginal);
  EXPECT_FALSE(platform::WriteProfileString(dir_.File("no/x.ini"), "A", "k", "v"));
}

TEST_F(PrivateProfileTest, FilesInFoldersWithAnyNameAndRelativePaths) {
  // "Überfahrt 3": a folder name outside ASCII, spelled in UTF-8.
  const std::string folder = "\u00DCberfahrt 3";
  std::filesystem::create_directory(dir_.path() / xsetest::Utf8Path(folder));
  const std::string path = dir_.File(folder + "/survey.ini");
  ASSERT_TRUE(platform::WriteProfileString(path, "Survey", "Line", "12"));
  EXPECT_EQ(platform::ReadProfileString(path, "Survey", "Line", "dflt"), "12");
  // A relative path is taken from the current folder.
  const std::filesystem::path saved = std::filesystem::current_path();
  std::filesystem::current_path(dir_.path() / xsetest::Utf8Path(folder));
  EXPECT_EQ(platform::ReadProfileString("survey.ini", "Survey", "Line", "dflt"), "12");
  EXPECT_TRUE(platform::WriteProfileString("survey.ini", "Survey", "Ping", "3"));
  std::filesystem::current_path(saved);
  EXPECT_EQ(platform::ReadProfileString(path, "Survey", "Ping", "dflt"), "3");
}

}  // namespace
