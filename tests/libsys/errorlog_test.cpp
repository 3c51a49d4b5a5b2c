#include "libsys/errorlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <barrier>
#include <cerrno>
#include <filesystem>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "libsystestsupport.h"
#include "platform/errortext.h"
#include "platform/messagebox.h"
#include "platform/username.h"
#include "support/tempdir.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

ErrorLogFields SampleFields(int32_t severity, int32_t systemError) {
  ErrorLogFields fields;
  fields.severity = severity;
  fields.text = "Unix domain socket function error: socket";
  fields.systemError = systemError;
  fields.sourceFile = "quorsocket/quorsocket.cpp";
  fields.sourceLine = 42;
  fields.date = "Tue Feb  3 09:05:07 2004";
  fields.user = "operator";
  return fields;
}

TEST(ErrorLogFormatTest, EntryLayout) {
  EXPECT_EQ(ErrorLogFormatEntry(SampleFields(kErrorLogWarning, ENOENT)),
            "##QUOR - WARNING    : \n"
            "Error message: Unix domain socket function error: socket\n"
            "Win32 err.2   : No such file or directory\n"
            "Source file  : \"quorsocket/quorsocket.cpp\" at line 42\n"
            "Date         : Tue Feb  3 09:05:07 2004\n"
            "User         : operator\n");
}

TEST(ErrorLogFormatTest, SystemErrorLine) {
  const int32_t count = platform::KnownErrorTextCount();
  // Three digits and one blank fill the number's four columns.
  ASSERT_GT(count, 100);
  ASSERT_LT(count, 1000);
  const std::string last = std::to_string(count - 1);
  const std::pair<int32_t, std::string> kCases[] = {
      {0, ""},  // no error, no line
      {EACCES, "Win32 err.13  : Permission denied\n"},
      {-5, "Win32 err.-5  : Unknown\n"},
      {123456, "Win32 err.123456: Unknown\n"},
      {count, "Win32 err." + std::to_string(count) + " : Unknown\n"},
      {count - 1, "Win32 err." + last + " : " + platform::ErrorText(count - 1) + "\n"},
  };
  for (const auto& [error, line] : kCases) {
    EXPECT_THAT(ErrorLogFormatEntry(SampleFields(kErrorLogError, error)),
                HasSubstr("socket\n" + line + "Source file"))
        << error;
  }
}

TEST(ErrorLogFormatTest, LongPiecesAreCutToTheirLimits) {
  ErrorLogFields fields = SampleFields(kErrorLogError, 0);
  const std::string text(300, 't'), user(30, 'u'), longSource(600, 's');
  fields.text = text;
  fields.user = user;
  const std::string entry = ErrorLogFormatEntry(fields);
  EXPECT_THAT(entry, HasSubstr("Error message: " + std::string(255, 't') + "\nSource"));
  EXPECT_THAT(entry, ::testing::EndsWith("User         : " + std::string(19, 'u') + "\n"));
  fields.sourceFile = longSource.c_str();
  EXPECT_EQ(ErrorLogFormatEntry(fields).size(), kErrorLogEntrySize - 1);
  fields.sourceFile = nullptr;
  EXPECT_THAT(ErrorLogFormatEntry(fields), HasSubstr("Source file  : \"(null)\" at line 42\n"));
}

TEST(ErrorLogPathTest, FollowsQuorhome) {
  const std::string longHome(200, 'h');
  const std::pair<const char*, std::string> kCases[] = {
      {"/opt/q", "/opt/q/log/error"},
      {nullptr, "/Temp/quor/log/error"},
      {"", "/Temp/quor/log/error"},
      {longHome.c_str(), std::string(127, 'h')},
  };
  for (const auto& [home, path] : kCases) {
    libsystest::ScopedEnvironment quorhome("QUORHOME", home);
    EXPECT_EQ(ErrorLogPath(), path) << (home ? home : "(unset)");
  }
}

class ErrorLogWriteTest : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directory(home_.path() / "log"); }
  std::string LogFile() const { return libsystest::ReadFile(home_.path() / "log" / "error"); }

  xsetest::TempDir home_;
  libsystest::ScopedEnvironment quorhome_{"QUORHOME", home_.path().c_str()};
  std::vector<std::pair<std::string, std::string>> boxes_;
  platform::ScopedMessageBoxHandler boxHandler_{
      [this](const std::string& caption, const std::string& text) {
        boxes_.emplace_back(caption, text);
      }};
};

TEST_F(ErrorLogWriteTest, AppendsTheEntryAndAnEmptyLine) {
  errno = ENOENT;
  const int32_t line = __LINE__ + 1;
  ERRORLOG(kErrorLogMessage, kErrorLogMessages[kErrOpenFile], "a.ini");
  EXPECT_EQ(errno, 0);
  const std::string content = LogFile();
  const size_t dateAt = content.find("Date         : ");
  ASSERT_NE(dateAt, std::string::npos);
  const std::string date = content.substr(dateAt + 15, content.find('\n', dateAt) - dateAt - 15);
  EXPECT_THAT(date, ::testing::MatchesRegex("[A-Z][a-z][a-z] [A-Z][a-z][a-z] [ 1-3][0-9] "
                                            "[0-2][0-9]:[0-5][0-9]:[0-6][0-9] [0-9]+"));
  const std::string user = platform::CurrentUserName().value_or("");
  const ErrorLogFields fields{
      kErrorLogMessage, "Could not open file: a.ini", ENOENT, __FILE__, line, date, user};
  EXPECT_EQ(content, ErrorLogFormatEntry(fields) + "\n");

  // A second entry follows the empty line; errno is 0 now, so no error line.
  ERRORLOG(kErrorLogMessage, "second");
  const std::string both = LogFile();
  ASSERT_TRUE(both.starts_with(content));
  EXPECT_THAT(both.substr(content.size()), StartsWith("##QUOR - LOG MESSAGE: \n"
                                                      "Error message: second\n"
                                                      "Source file  : "));
  EXPECT_TRUE(both.ends_with("\n\n"));
}

TEST_F(ErrorLogWriteTest, SeverityDecidesTheWordAndTheBoxes) {
  const std::tuple<int32_t, const char*, size_t> kCases[] = {
      {0, "LOG MESSAGE", 0}, {1, "WARNING    ", 1},  {2, "ERROR      ", 1},
      {7, "?ERROR?    ", 1}, {-2, "?ERROR?    ", 1},
  };
  for (const auto& [severity, word, boxCount] : kCases) {
    boxes_.clear();
    std::filesystem::remove(home_.path() / "log" / "error");
    ERRORLOG(severity, "severity %d", severity);
    ASSERT_EQ(boxes_.size(), boxCount) << severity;
    const std::string content = LogFile();
    EXPECT_THAT(content,
                StartsWith(std::string("##QUOR - ") + word + ": \nError message: severity " +
                           std::to_string(severity) + "\n"));
    if (boxCount > 0) {
      EXPECT_EQ(boxes_[0].first, "Error");
      EXPECT_EQ(boxes_[0].second + "\n", content);
    }
  }
}

TEST_F(ErrorLogWriteTest, MissingLogFolderStillShowsTheBox) {
  std::filesystem::remove(home_.path() / "log");
  ERRORLOG(kErrorLogError, kErrorLogMessages[kErrUnixSocketFunction], "socket");
  ASSERT_EQ(boxes_.size(), 1u);
  EXPECT_THAT(boxes_[0].second, HasSubstr("Error message: Unix domain socket function error: "
                                          "socket\n"));
  EXPECT_FALSE(std::filesystem::exists(home_.path() / "log"));
}

TEST_F(ErrorLogWriteTest, EachThreadKeepsItsOwnSourceLocationAndError) {
  // Both threads set their location before either writes: a location shared
  // between threads would show up in the wrong entry. errno is set after the
  // barrier, right before the write, as a failing call would leave it: the
  // barrier's own futex wait may leave EAGAIN behind.
  std::barrier bothSet(2);
  auto writer = [&bothSet](const char* file, int32_t line, int error) {
    ErrorLogSetSource(file, line);
    bothSet.arrive_and_wait();
    errno = error;
    ErrorLogWrite(kErrorLogMessage, "from %s", file);
  };
  std::thread first(writer, "first.cpp", 11, ENOENT);
  std::thread second(writer, "second.cpp", 22, EACCES);
  first.join();
  second.join();
  const std::string content = LogFile();
  EXPECT_THAT(content, HasSubstr("from first.cpp\n"
                                 "Win32 err.2   : No such file or directory\n"
                                 "Source file  : \"first.cpp\" at line 11\n"));
  EXPECT_THAT(content, HasSubstr("from second.cpp\n"
                                 "Win32 err.13  : Permission denied\n"
                                 "Source file  : \"second.cpp\" at line 22\n"));
}

TEST_F(ErrorLogWriteTest, FatalEntryShowsTwoBoxesAndEndsTheProcess) {
  const auto fatal = [] {
    platform::SetMessageBoxHandler(nullptr);  // the default: boxes on standard error
    ERRORLOG(kErrorLogFatal, "disk on fire");
  };
  EXPECT_EXIT(fatal(), ::testing::ExitedWithCode(255),
              "Error: ##QUOR - FATAL ERROR: (.|\n)*Error message: disk on fire(.|\n)*"
              "Error: Program terminated\\.\\.\\.");
  EXPECT_THAT(LogFile(), HasSubstr("Error message: disk on fire\n"));
}

}  // namespace
