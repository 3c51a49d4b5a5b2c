#include "platform/privateprofile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>

#include "support/tempdir.h"

namespace {

class PrivateProfileTest : public ::testing::Test {
 protected:
  void WriteFile(const std::string& content) { std::ofstream(path_, std::ios::binary) << content; }
  std::string ReadFile() const {
    std::ifstream in(path_, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  xsetest::TempDir dir_;
  const std::string path_ = dir_.File("settings.ini");
};

struct ReadCase {
  const char* name;
  const char* content;
  const char* section;
  const char* key;
  const char* expected;  // the default is "dflt"
};

const ReadCase kReadCases[] = {
    {"NamesIgnoreCase", "[PilotDesk]\nTraceFile=x.log\n", "PILOTDESK", "tracefile", "x.log"},
    {"BlanksAroundNamesAndValue", "  [ Sec ]  \n  Key \t=  some value \t\n", "Sec", "Key",
     "some value"},
    {"CallerNamesTrimmed", "[Sec]\nKey=v\n", " Sec ", " Key\t", "v"},
    {"InnerBlanksInKey", "[Sec]\nMy Key = v\n", "Sec", "my key", "v"},
    {"DoubleQuotesDropped", "[Sec]\nKey= \"  q  \" \n", "Sec", "Key", "  q  "},
    {"SingleQuotesDropped", "[Sec]\nKey='q'\n", "Sec", "Key", "q"},
    {"UnmatchedQuotesKept", "[Sec]\nKey=\"q'\n", "Sec", "Key", "\"q'"},
    {"EqualsInValue", "[Sec]\nKey=a=b\n", "Sec", "Key", "a=b"},
    {"EmptyValueIsNotDefault", "[Sec]\nKey=\n", "Sec", "Key", ""},
    {"CrLfLines", "[Sec]\r\nKey=Value\r\n", "Sec", "Key", "Value"},
    {"NoFinalLineBreak", "[Sec]\nKey=Value", "Sec", "Key", "Value"},
    {"ByteOrderMark", "\xEF\xBB\xBF[Sec]\nKey=v\n", "Sec", "Key", "v"},
    {"MissingKey", "[Sec]\nOther=1\n", "Sec", "Key", "dflt"},
    {"MissingSection", "[Other]\nKey=1\n", "Sec", "Key", "dflt"},
    {"KeyOfNextSection", "[Sec]\n[Next]\nKey=1\n", "Sec", "Key", "dflt"},
    {"KeyBeforeAnyHeader", "Key=1\n[Sec]\n", "Sec", "Key", "dflt"},
    {"CommentedOut", "[Sec]\n;Key=1\n", "Sec", "Key", "dflt"},
    {"FirstKeyWins", "[Sec]\nKey=1\nkey=2\n", "Sec", "Key", "1"},
    {"OnlyFirstSectionCounts", "[Sec]\nA=1\n[Sec]\nKey=2\n", "Sec", "Key", "dflt"},
    {"BracketWithoutCloseEndsNothing", "[Sec]\n[broken\nKey=v\n", "Sec", "Key", "v"},
    {"BracketWithoutCloseIsNoHeader", "[Sec\nKey=v\n", "Sec", "Key", "dflt"},
    {"EmptyKeyName", "[Sec]\n=v\n", "Sec", "", "dflt"},
    {"EmptySectionName", "[]\nKey=v\n", "", "Key", "dflt"},
};

class ProfileReadTest : public PrivateProfileTest,
                        public ::testing::WithParamInterface<ReadCase> {};

TEST_P(ProfileReadTest, FindsValueOrDefault) {
  const ReadCase& c = GetParam();
  WriteFile(c.content);
  EXPECT_EQ(platform::ReadProfileString(path_, c.section, c.key, "dflt"), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ProfileReadTest, ::testing::ValuesIn(kReadCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(PrivateProfileTest, MissingFileOrFolderGivesDefaultWithoutTrailingBlanks) {
  EXPECT_EQ(platform::ReadProfileString(path_, "Sec", "Key", "  dflt \t"), "  dflt");
  EXPECT_EQ(platform::ReadProfileString(dir_.path().string(), "Sec", "Key", "dflt"), "dflt");
  EXPECT_EQ(platform::ReadProfileString("", "Sec", "Key", "dflt"), "dflt");
}

TEST_F(PrivateProfileTest, ValuesAndDefaultsAreCutToTheBuffer) {
  const std::string longValue(300, 'v');
  WriteFile("[Sec]\nKey=" + longValue + "\n");
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

struct WriteCase {
  const char* name;
  const char* before;  // null: no file
  const char* section;
  const char* key;
  const char* value;
  const char* after;
};

const WriteCase kWriteCases[] = {
    {"CreatesFile", nullptr, "Sec", "Key", "v", "[Sec]\nKey=v\n"},
    {"EmptyFile", "", "Sec", "Key", "v", "[Sec]\nKey=v\n"},
    {"ReplacesInPlaceKeepingSpelling", "; c\n[sec]\nKEY = old value\nB=1\n", "Sec", "key", "new",
     "; c\n[sec]\nKEY = new\nB=1\n"},
    {"ReplacesWithShorterValue", "[A]\nk=a long value\nz=1\n", "A", "k", "s", "[A]\nk=s\nz=1\n"},
    {"ReplacesEmptyValue", "[A]\nk=\n", "A", "k", "1", "[A]\nk=1\n"},
    {"NewKeyEndsItsSection", "[A]\nx=1\n\n; about B\n[B]\ny=2\n", "A", "z", "3",
     "[A]\nx=1\nz=3\n\n; about B\n[B]\ny=2\n"},
    {"NewKeyAfterHeaderOnly", "[A]\n\n[B]\n", "A", "k", "v", "[A]\nk=v\n\n[B]\n"},
    {"NewKeyWithoutFinalLineBreak", "[A]\nx=1", "A", "y", "2", "[A]\nx=1\ny=2\n"},
    {"NewSectionAtEnd", "; top\n[A]\nx=1\n", "B", "k", "v", "; top\n[A]\nx=1\n[B]\nk=v\n"},
    {"NewSectionWithoutFinalLineBreak", "[A]\nx=1", "B", "k", "v", "[A]\nx=1\n[B]\nk=v\n"},
    {"CrLfFileKeepsCrLf", "[A]\r\nx=1\r\n", "A", "y", "2", "[A]\r\nx=1\r\ny=2\r\n"},
    {"CrLfReplaceKeepsLineEnd", "[A]\r\nx=1\r\n", "A", "x", "22", "[A]\r\nx=22\r\n"},
    {"ByteOrderMarkKept", "\xEF\xBB\xBF[A]\nx=1\n", "a", "x", "2", "\xEF\xBB\xBF[A]\nx=2\n"},
};

class ProfileWriteTest : public PrivateProfileTest,
                         public ::testing::WithParamInterface<WriteCase> {};

TEST_P(ProfileWriteTest, ChangesOnlyWhatItMust) {
  const WriteCase& c = GetParam();
  if (c.before != nullptr) WriteFile(c.before);
  ASSERT_TRUE(platform::WriteProfileString(path_, c.section, c.key, c.value));
  EXPECT_EQ(ReadFile(), c.after);
  EXPECT_EQ(platform::ReadProfileString(path_, c.section, c.key, "dflt"), c.value);
}

INSTANTIATE_TEST_SUITE_P(Cases, ProfileWriteTest, ::testing::ValuesIn(kWriteCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(PrivateProfileTest, RefusesWritesThatWouldNotReadBack) {
  const char* const kOriginal = "[A]\nx=1\n";
  WriteFile(kOriginal);
  const struct {
    const char* section;
    const char* key;
    const char* value;
  } kRefused[] = {{"", "k", "v"},    {" ", "k", "v"},     {"A", "", "v"},   {"A", "k=1", "v"},
                  {"A]", "k", "v"},  {"A", ";k", "v"},    {"A", "[k", "v"}, {"A", "k", "v\nw=1"},
                  {"A", "k", "v\r"}, {"A\n[B", "k", "v"}, {"A", "k\n", "v"}};
  for (const auto& r : kRefused) {
    EXPECT_FALSE(platform::WriteProfileString(path_, r.section, r.key, r.value))
        << r.section << "/" << r.key;
  }
  EXPECT_EQ(ReadFile(), kOriginal);
  EXPECT_FALSE(
      platform::WriteProfileString((dir_.path() / "no" / "x.ini").string(), "A", "k", "v"));
  EXPECT_FALSE(platform::WriteProfileString(dir_.path().string(), "A", "k", "v"));
}

}  // namespace
