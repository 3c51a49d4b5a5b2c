// The module trace pieces. How the settings turn the trace of a loaded
// module on or off, and where its file goes, is run through the plug-in
// (tests/interpreters/xsereader/xsereaderapp_test.cpp).
#include "libsys/moduletrace.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "libsys/libsystestsupport.h"
#include "libsys/ztracelogfile.h"
#include "platform/processinfo.h"
#include "support/tempdir.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::MatchesRegex;

TEST(BuildStampTest, NeedsRoomForTheTerminatorAndZeroesTheRestOfTheBuffer) {
  for (const int32_t size : {31, 32, 33, 40}) {
    char buffer[40];
    std::memset(buffer, 'x', sizeof buffer);
    const bool fits = size > 32;
    EXPECT_EQ(FormatBuildStamp("Aug 19 2022", "15:42:58", "(Release)", buffer, size),
              fits ? 0 : E_OUTOFMEMORY)
        << size;
    const std::string written = fits ? "Aug 19 2022  15:42:58  (Release)" +
                                           std::string(static_cast<size_t>(size - 32), '\0')
                                     : "";
    EXPECT_EQ(std::string(buffer, sizeof buffer),
              written + std::string(sizeof buffer - written.size(), 'x'))
        << size;
  }
  char buffer[kBuildStampSize];
  ASSERT_EQ(GetBuildStamp(buffer, kBuildStampSize), 0);
  EXPECT_THAT(buffer,
              MatchesRegex("[A-Z][a-z][a-z] [ 0-9][0-9] [0-9]{4}  [0-9]{2}:[0-9]{2}:[0-9]{2}  "
                           "\\((Release|Debug)\\)"));
}

TEST(ModuleTraceNamesTest, PerProcessNameKeepsTheStemAndAddsTheProcessId) {
  const std::pair<const char*, const char*> cases[] = {
      {"D:\\t\\x.log", "D:\\t\\x.4711.log"},
      {"trace", "trace.4711.log"},
      {"trace.txt", "trace.4711.log"},
      {"a.log.log", "a.4711.log"},
      {".log", ".log.4711.log"},  // a leading dot is part of the stem
      {"", ".4711.log"}};
  for (const auto& [configured, perProcess] : cases) {
    EXPECT_EQ(PerProcessTraceName(configured, 4711), perProcess) << configured;
  }
}

TEST(ModuleTraceNamesTest, KeelonAnywhereButAtTheStartOfThePathAsksForTrace) {
  EXPECT_TRUE(PathAsksForTrace("/opt/myKEELONbuild/x.so"));
  EXPECT_FALSE(PathAsksForTrace("keelon/x.so"));
  EXPECT_FALSE(PathAsksForTrace("/opt/keelo/n.so"));
}

// A settings home with a log folder, as the current folder an empty one;
// the trace state is reset around every test.
class ModuleTraceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    savedFolder_ = fs::current_path();
    fs::create_directories(dir_.path() / "home" / "Setup");
    fs::create_directories(dir_.path() / "home" / "log");
    fs::create_directories(dir_.path() / "work");
    fs::current_path(dir_.path() / "work");
    TraceReset();
  }
  void TearDown() override {
    TraceReset();
    fs::current_path(savedFolder_);
  }

  std::vector<std::string> LogLines(const std::string& name) const {
    std::vector<std::string> lines;
    std::ifstream in(dir_.path() / "home" / "log" / name);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  xsetest::TempDir dir_;
  libsystest::ScopedEnvironment home_{"QUORHOME", (dir_.path() / "home").c_str()};

 private:
  fs::path savedFolder_;
};

TEST_F(ModuleTraceTest, LinesBetweenAttachAndDetachFollowTheSetting) {
  std::ofstream(dir_.path() / "home" / "Setup" / "Keelon.ini") << "[pilotdesk]\nTRACE=1\n";
  ZTraceLogFile traceLogFile("pilotdesk");
  ASSERT_EQ(traceLogFile.Init(-1, nullptr, nullptr, 1), 1);
  QUORLOG(3, "verbose");
  QUORLOG(2, "module line");
  traceLogFile.Shutdown(nullptr, false);
  QUORLOG(2, "after the stop");
  EXPECT_THAT(
      LogLines("pilotdesk." + std::to_string(platform::CurrentProcessId()) + ".log"),
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
  // Once stopped, the module lines are not written.
  EXPECT_EQ(TraceWriteAttached("/m/keelon/x.so", "B"), 0);
  EXPECT_EQ(TraceWriteDetached("/m/keelon/x.so"), 0);
  EXPECT_EQ(LogLines("pilotdesk.log").size(), 2u);
  EXPECT_EQ(traceLogFile.Init(3, "/m/keelon/x.so", "B", 0), 0);
  EXPECT_FALSE(TraceIsActive());
}

}  // namespace
