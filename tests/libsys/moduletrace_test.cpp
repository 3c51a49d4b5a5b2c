#include "libsys/moduletrace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "libsys/ztracelogfile.h"
#include "platform/environment.h"
#include "platform/processinfo.h"
#include "support/tempdir.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

TEST(BuildStampTest, FillsTheBufferAndZeroesTheRest) {
  char buffer[40];
  std::memset(buffer, 'x', sizeof buffer);
  ASSERT_EQ(FormatBuildStamp("Aug 19 2022", "15:42:58", "(Release)", buffer, 40), 0);
  EXPECT_EQ(std::string(buffer, 32), "Aug 19 2022  15:42:58  (Release)");
  for (size_t i = 32; i < sizeof buffer; ++i) EXPECT_EQ(buffer[i], '\0') << i;
}

TEST(BuildStampTest, RefusesABufferWithoutRoomForTheTerminator) {
  for (const int32_t size : {0, 31, 32}) {
    char buffer[40];
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(FormatBuildStamp("Aug 19 2022", "15:42:58", "(Release)", buffer, size), E_OUTOFMEMORY)
        << size;
    EXPECT_EQ(std::string(buffer, sizeof buffer), std::string(40, 'x')) << size;
  }
  char buffer[33];
  EXPECT_EQ(FormatBuildStamp("Aug 19 2022", "15:42:58", "(Release)", buffer, 33), 0);
  EXPECT_STREQ(buffer, "Aug 19 2022  15:42:58  (Release)");
}

TEST(BuildStampTest, TheModulesStampHasTheCompilersDateAndTime) {
  char buffer[kBuildStampSize];
  ASSERT_EQ(GetBuildStamp(buffer, kBuildStampSize), 0);
  EXPECT_THAT(buffer,
              MatchesRegex("[A-Z][a-z][a-z] [ 0-9][0-9] [0-9]{4}  [0-9]{2}:[0-9]{2}:[0-9]{2}  "
                           "\\((Release|Debug)\\)"));
}

struct NameCase {
  const char* configured;
  const char* perProcess;
};

class PerProcessNameTest : public ::testing::TestWithParam<NameCase> {};

TEST_P(PerProcessNameTest, KeepsTheStemAndAddsTheProcessId) {
  EXPECT_EQ(PerProcessTraceName(GetParam().configured, 4711), GetParam().perProcess);
}

INSTANTIATE_TEST_SUITE_P(Cases, PerProcessNameTest,
                         ::testing::Values(NameCase{"pilotdesk.log", "pilotdesk.4711.log"},
                                           NameCase{"dev.trace.log", "dev.4711.log"},
                                           NameCase{"D:\\t\\x.log", "D:\\t\\x.4711.log"},
                                           NameCase{"trace", "trace.4711.log"},
                                           NameCase{"trace.txt", "trace.4711.log"},
                                           NameCase{"a.log.log", "a.4711.log"},
                                           // A leading dot is part of the stem.
                                           NameCase{".log", ".log.4711.log"},
                                           NameCase{"", ".4711.log"}));

struct PathCase {
  const char* path;
  bool traces;
};

class KeelonPathTest : public ::testing::TestWithParam<PathCase> {};

TEST_P(KeelonPathTest, OnlyModulesUnderAKeelonPathTrace) {
  EXPECT_EQ(PathAsksForTrace(GetParam().path), GetParam().traces);
}

INSTANTIATE_TEST_SUITE_P(Cases, KeelonPathTest,
                         ::testing::Values(PathCase{"/opt/keelon/lib/xsereader.so", true},
                                           PathCase{"/opt/KeeLon/xsereader.so", true},
                                           PathCase{"/opt/mykeelonbuild/x.so", true},
                                           PathCase{"/opt/quor/lib/xsereader.so", false},
                                           PathCase{"keelon/x.so", false},  // at the very start
                                           PathCase{"/opt/keelo/n.so", false},
                                           PathCase{"", false}));

// A settings home with a log folder, as the current folder an empty one;
// the trace state is reset around every test.
class ModuleTraceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    savedFolder_ = fs::current_path();
    savedHome_ = platform::GetEnvironmentVariable("QUORHOME");
    fs::create_directories(dir_.path() / "home" / "Setup");
    fs::create_directories(dir_.path() / "home" / "log");
    fs::create_directories(dir_.path() / "work");
    platform::SetEnvironmentVariable("QUORHOME", (dir_.path() / "home").c_str());
    fs::current_path(dir_.path() / "work");
    TraceReset();
  }
  void TearDown() override {
    TraceReset();
    fs::current_path(savedFolder_);
    platform::SetEnvironmentVariable("QUORHOME", savedHome_ ? savedHome_->c_str() : nullptr);
  }

  void WriteSettings(const std::string& body) const {
    std::ofstream(dir_.path() / "home" / "Setup" / "Keelon.ini") << body;
  }
  fs::path LogFile(const std::string& name) const { return dir_.path() / "home" / "log" / name; }
  std::string Pid() const { return std::to_string(platform::CurrentProcessId()); }
  std::vector<std::string> LogFolderEntries() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir_.path() / "home" / "log")) {
      names.push_back(entry.path().filename().string());
    }
    for (const auto& entry : fs::directory_iterator(dir_.path() / "work")) {
      names.push_back("work/" + entry.path().filename().string());
    }
    return names;
  }
  static std::vector<std::string> ReadLines(const fs::path& path) {
    std::vector<std::string> lines;
    std::ifstream in(path);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  xsetest::TempDir dir_;

 private:
  fs::path savedFolder_;
  std::optional<std::string> savedHome_;
};

struct SettingsCase {
  const char* settings;
  int32_t setting;   // 0: the trace stays off
  const char* stem;  // per-process file is "<stem>.<pid>.log"
};

class ModuleTraceSettingsTest : public ModuleTraceTest,
                                public ::testing::WithParamInterface<SettingsCase> {};

TEST_P(ModuleTraceSettingsTest, StartsOnlyForTraceOneOrTwo) {
  WriteSettings(GetParam().settings);
  ZTraceLogFile traceLogFile("pilotdesk");
  const int32_t on = traceLogFile.Init(-1, "/m/keelon/x.so", "B", 1);
  EXPECT_EQ(on, GetParam().setting > 0 ? 1 : 0);
  EXPECT_EQ(TraceSetting(), GetParam().setting);
  EXPECT_EQ(TraceIsActive(), GetParam().setting > 0);
  traceLogFile.Shutdown("/m/keelon/x.so", false);
  EXPECT_FALSE(TraceIsActive());
  if (GetParam().setting == 0) {
    EXPECT_THAT(LogFolderEntries(), ElementsAre());
    return;
  }
  const std::string name = std::string(GetParam().stem) + "." + Pid() + ".log";
  EXPECT_EQ(traceLogFile.name(), name);
  EXPECT_THAT(LogFolderEntries(), ElementsAre(name));
  const std::vector<std::string> lines = ReadLines(LogFile(name));
  EXPECT_THAT(lines,
              ElementsAre(MatchesRegex("[0-9:]{8}\\|/m/keelon/x.so module attached with trace " +
                                       std::to_string(GetParam().setting) + " - Build: 'B'"),
                          MatchesRegex("[0-9:]{8}\\|/m/keelon/x.so module detached")));
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ModuleTraceSettingsTest,
    ::testing::Values(SettingsCase{"[pilotdesk]\nTRACE=2\n", 2, "pilotdesk"},
                      SettingsCase{"[pilotdesk]\nTRACE=1\nTRACEFILE=dev.trace.log\n", 1, "dev"},
                      SettingsCase{"[pilotdesk]\nTRACE=2abc\n", 2, "pilotdesk"},
                      SettingsCase{"[pilotdesk]\nTRACE=3\n", 0, ""},
                      SettingsCase{"[pilotdesk]\nTRACE=0\n", 0, ""},
                      SettingsCase{"[pilotdesk]\nTRACE=abc\n", 0, ""},
                      SettingsCase{"[pilotdesk]\nTRACEFILE=x.log\n", 0, ""},
                      SettingsCase{"[pilotdesk]\nTRACE=2\nTRACEFILE=\n", 0, ""},
                      SettingsCase{"[other]\nTRACE=2\n", 0, ""}, SettingsCase{"", 0, ""}));

TEST_F(ModuleTraceTest, NoSettingsFileLeavesTheTraceOff) {
  ZTraceLogFile traceLogFile("pilotdesk");
  EXPECT_EQ(traceLogFile.Init(-1, "/m/keelon/x.so", "B", 1), 0);
  EXPECT_FALSE(TraceIsActive());
  EXPECT_THAT(LogFolderEntries(), ElementsAre());
}

TEST_F(ModuleTraceTest, LinesBetweenAttachAndDetachFollowTheSetting) {
  WriteSettings("[pilotdesk]\nTRACE=1\n");
  ZTraceLogFile traceLogFile("pilotdesk");
  ASSERT_EQ(traceLogFile.Init(-1, nullptr, nullptr, 1), 1);
  QUORLOG(3, "verbose");
  QUORLOG(2, "module line");
  traceLogFile.Shutdown(nullptr, false);
  QUORLOG(2, "after the stop");
  EXPECT_THAT(
      ReadLines(LogFile("pilotdesk." + Pid() + ".log")),
      ElementsAre(MatchesRegex(".*\\|\\(n/a\\) module attached with trace 1 - Build: '\\(n/a\\)'"),
                  MatchesRegex(".*\\|module line"),
                  MatchesRegex(".*\\|\\(n/a\\) module detached")));
}

TEST_F(ModuleTraceTest, ExplicitLevelSkipsTheSettingsAndStoreLevelWritesThemBack) {
  ZTraceLogFile traceLogFile("pilotdesk");
  ASSERT_EQ(traceLogFile.Init(2, "/m/keelon/x.so", "B", 0), 1);
  EXPECT_EQ(traceLogFile.name(), "pilotdesk.log");
  EXPECT_EQ(TraceSetting(), 2);
  traceLogFile.Shutdown("/m/keelon/x.so", true);
  ZKeelonIni settings("pilotdesk");
  ASSERT_GT(settings.ReadString("pilotdesk", "trace", ""), 0u);
  EXPECT_STREQ(ZGenericIni::Value(), "2");
  EXPECT_EQ(ReadLines(LogFile("pilotdesk.log")).size(), 2u);
  EXPECT_EQ(traceLogFile.Init(3, "/m/keelon/x.so", "B", 0), 0);
  EXPECT_FALSE(TraceIsActive());
}

TEST_F(ModuleTraceTest, ModuleLinesNeedAnActiveTrace) {
  EXPECT_EQ(TraceWriteAttached("/m/keelon/x.so", "B"), 0);
  EXPECT_EQ(TraceWriteDetached("/m/keelon/x.so"), 0);
  EXPECT_THAT(LogFolderEntries(), ElementsAre());
}

TEST_F(ModuleTraceTest, ModuleOutsideAKeelonPathNeverTraces) {
  if (PathAsksForTrace(OwnModulePath())) GTEST_SKIP() << "built under a keelon path";
  WriteSettings("[pilotdesk]\nTRACE=2\n");
  ZTraceLogFile traceLogFile("pilotdesk");
  const int32_t readSettings = -1;
  EXPECT_EQ(SetupModuleTrace(traceLogFile, &readSettings), 0);
  EXPECT_FALSE(TraceIsActive());
  EXPECT_EQ(SetupModuleTrace(traceLogFile, nullptr), 0);
  EXPECT_THAT(LogFolderEntries(), ElementsAre());
}

TEST(OwnModulePathTest, IsTheFileThisLibraryIsLinkedInto) {
  EXPECT_EQ(fs::path(OwnModulePath()).filename(), "test_libsys");
}

}  // namespace
