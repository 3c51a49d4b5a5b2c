#include "libsys/errorlog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <barrier>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "libsystestsupport.h"
#include "platform/environment.h"
#include "platform/errortext.h"
#include "platform/messagebox.h"
#include "platform/username.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(ErrorLogFormatTest, EntryLayoutWithEachKindOfSystemErrorLineAndCutPieces) {
  const int32_t count = platform::KnownErrorTextCount();
  ASSERT_LT(count, 1000) << "three digits and a blank fill the number's four columns";
  const std::string last = std::to_string(count - 1);
  const std::pair<int32_t, std::string> kCases[] = {
      {ENOENT, "Win32 err.2   : No such file or directory\n"},
      {0, ""},  // no error, no line
      {-5, "Win32 err.-5  : Unknown\n"},
      {123456, "Win32 err.123456: Unknown\n"},
      {count, "Win32 err." + std::to_string(count) + " : Unknown\n"},
      {count - 1, "Win32 err." + last + " : " + platform::ErrorText(count - 1) + "\n"}};
  ErrorLogFields fields{kErrorLogWarning,
                        "Unix domain socket function error: socket",
                        0,
                        "quorsocket/quorsocket.cpp",
                        42,
                        "Tue Feb  3 09:05:07 2004",
                        "operator"};
  for (const auto& [error, line] : kCases) {
    fields.systemError = error;
    EXPECT_EQ(ErrorLogFormatEntry(fields),
              "##QUOR - WARNING    : \n"
              "Error message: Unix domain socket function error: socket\n" +
                  line +
                  "Source file  : \"quorsocket/quorsocket.cpp\" at line 42\n"
                  "Date         : Tue Feb  3 09:05:07 2004\n"
                  "User         : operator\n");
  }
  const std::string text(300, 't'), user(30, 'u'), longSource(600, 's');
  fields = {kErrorLogError, text, 0, nullptr, 42, "date", user};
  EXPECT_EQ(ErrorLogFormatEntry(fields),
            "##QUOR - ERROR      : \nError message: " + std::string(255, 't') +
                "\nSource file  : \"(null)\" at line 42\n"
                "Date         : date\nUser         : " +
                std::string(19, 'u') + "\n");
  fields.sourceFile = longSource.c_str();
  EXPECT_EQ(ErrorLogFormatEntry(fields).size(), kErrorLogEntrySize - 1);
}

TEST(ErrorLogPathTest, FollowsQuorhome) {
  const std::string longHome(200, 'h');
  const std::pair<const char*, std::string> kCases[] = {{"/opt/q", "/opt/q/log/error"},
                                                        {nullptr, "/Temp/quor/log/error"},
                                                        {"", "/Temp/quor/log/error"},
                                                        {longHome.c_str(), std::string(127, 'h')}};
  for (const auto& [home, path] : kCases) {
    libsystest::ScopedEnvironment quorhome("QUORHOME", home);
    EXPECT_EQ(ErrorLogPath(), path) << (home ? home : "(unset)");
  }
}

class ErrorLogWriteTest : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directory(home_.path() / "log"); }
  std::string LogFile() const { return xsetest::ReadTextFile(home_.path() / "log" / "error"); }

  xsetest::TempDir home_;
  libsystest::ScopedEnvironment quorhome_{"QUORHOME", home_.Folder().c_str()};
  libsystest::CollectedBoxes boxes_;
};

TEST_F(ErrorLogWriteTest, AppendsTheCallersEntryAndAnEmptyLineAndBoxesAllButPlainMessages) {
  errno = ENOENT;
  const int32_t line = __LINE__ + 1;
  ERRORLOG(kErrorLogMessage, kErrorLogMessages[kErrOpenFile], "a.ini");
  EXPECT_EQ(errno, 0);
  // The date's text is the local clock's, pinned by its own test.
  const std::string content = LogFile();
  const size_t dateAt = content.find("Date         : ") + 15;
  const std::string date = content.substr(dateAt, content.find('\n', dateAt) - dateAt);
  const std::string user = platform::CurrentUserName().value_or("");
  const ErrorLogFields fields{
      kErrorLogMessage, "Could not open file: a.ini", ENOENT, __FILE__, line, date, user};
  EXPECT_EQ(content, ErrorLogFormatEntry(fields) + "\n");

  for (const int32_t severity : {kErrorLogWarning, kErrorLogError, -2}) ERRORLOG(severity, "loud");
  ASSERT_EQ(boxes_.size(), 3u) << "none for the plain message";
  EXPECT_EQ(boxes_[1].first, "Error");
  EXPECT_THAT(boxes_[1].second, StartsWith("##QUOR - ERROR      : \nError message: loud\n"));
  EXPECT_THAT(boxes_[2].second, StartsWith("##QUOR - ?ERROR?    : \n"));
  EXPECT_THAT(LogFile(), ::testing::EndsWith("\n\n" + boxes_[2].second + "\n"));
  // Without a log folder the box still shows.
  std::filesystem::remove_all(home_.path() / "log");
  ERRORLOG(kErrorLogError, "no folder");
  EXPECT_EQ(boxes_.size(), 4u);
}

TEST_F(ErrorLogWriteTest, EachThreadKeepsItsOwnSourceLocationAndError) {
  // Both threads set their location before either writes: a location shared
  // between threads would show up in the wrong entry. errno is set after the
  // barrier, right before the write, as a failing call would leave it: the
  // barrier's own futex wait may leave EAGAIN behind.
  std::barrier bothSet(2);
  auto writer = [&bothSet](const char* file, int error) {
    ErrorLogSetSource(file, 11);
    bothSet.arrive_and_wait();
    errno = error;
    ErrorLogWrite(kErrorLogMessage, "from %s", file);
  };
  std::thread first(writer, "first.cpp", ENOENT), second(writer, "second.cpp", EACCES);
  first.join();
  second.join();
  EXPECT_THAT(LogFile(), HasSubstr("from first.cpp\nWin32 err.2   : No such file or directory\n"
                                   "Source file  : \"first.cpp\""));
  EXPECT_THAT(LogFile(), HasSubstr("from second.cpp\nWin32 err.13  : Permission denied\n"
                                   "Source file  : \"second.cpp\""));
}

// The texts in this order, with anything between them.
MATCHER_P(ContainsInOrder, texts, "") {
  size_t at = 0;
  for (const std::string& text : texts) {
    at = arg.find(text, at);
    if (at == std::string::npos) return false;
    at += text.size();
  }
  return true;
}

TEST_F(ErrorLogWriteTest, FatalEntryShowsTwoBoxesAndEndsTheProcess) {
  // Where death tests run in a new start of the test program (Windows),
  // the dying process has a folder of its own: it is told this one.
  const auto shared = platform::GetEnvironmentVariable("XSE_TEST_FATAL_HOME");
  libsystest::ScopedEnvironment sharing("XSE_TEST_FATAL_HOME", home_.Folder().c_str());
  libsystest::ScopedEnvironment quorhome("QUORHOME",
                                         shared ? shared->c_str() : home_.Folder().c_str());
  const auto fatal = [] {
    // Boxes on standard error, whatever the system would show.
    platform::SetMessageBoxHandler([](const std::string& caption, const std::string& text) {
      std::fprintf(stderr, "%s: %s\n", caption.c_str(), text.c_str());
    });
    ERRORLOG(kErrorLogFatal, "disk on fire");
  };
  EXPECT_EXIT(fatal(), ::testing::ExitedWithCode(255),
              ContainsInOrder(std::vector<std::string>{
                  "Error: ##QUOR - FATAL ERROR: ", "Error message: disk on fire",
                  "Error: Program terminated..."}));
  EXPECT_THAT(LogFile(), HasSubstr("Error message: disk on fire\n"));
}

}  // namespace
