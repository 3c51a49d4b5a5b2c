// The module trace pieces. How the settings turn the trace of a loaded
// module on or off, where its file goes and its attach and detach lines are
// run through the plug-in (tests/interpreters/xsereader/xsereaderapp_test.cpp).
#include "libsys/moduletrace.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>

#include "libsys/libsystestsupport.h"
#include "libsys/ztracelogfile.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

namespace fs = std::filesystem;

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
}

TEST(ModuleTraceNamesTest, PerProcessNameKeepsTheStemAndKeelonMustFollowThePathsStart) {
  const std::pair<const char*, const char*> cases[] = {
      {"D:\\t\\x.log", "D:\\t\\x.4711.log"},
      {"trace", "trace.4711.log"},
      {"trace.txt", "trace.4711.log"},
      {"a.log.log", "a.4711.log"},
      {".log", ".log.4711.log"},  // a leading dot is part of the stem
      {"", ".4711.log"},
      {"/tmp/x/dir.d/trace.log", "/tmp/x/dir.d/trace.4711.log"},  // folders keep their dots
      {"C:\\a.b\\.log", "C:\\a.b\\.log.4711.log"}};
  for (const auto& [configured, perProcess] : cases) {
    EXPECT_EQ(PerProcessTraceName(configured, 4711), perProcess) << configured;
  }
  EXPECT_TRUE(PathAsksForTrace("/opt/myKEELONbuild/x.so"));
  EXPECT_FALSE(PathAsksForTrace("keelon/x.so"));
  EXPECT_FALSE(PathAsksForTrace("/opt/keelo/n.so"));
}

TEST(ModuleTraceTest, ExplicitLevelSkipsTheSettingsAndStoreLevelWritesThemBack) {
  xsetest::TempDir home;
  fs::create_directories(home.path() / "Setup");
  fs::create_directories(home.path() / "log");
  libsystest::ScopedEnvironment quorhome{"QUORHOME", home.Folder().c_str()};
  const fs::path saved = fs::current_path();
  fs::current_path(home.path());  // no log folder here: the home's is used
  TraceReset();
  {
    ZTraceLogFile traceLogFile("pilotdesk");
    ASSERT_EQ(traceLogFile.Init(2, "/m/keelon/x.so", "B", 0), 1);
    EXPECT_EQ(traceLogFile.name(), "pilotdesk.log");
    EXPECT_EQ(TraceSetting(), 2);
    traceLogFile.Shutdown("/m/keelon/x.so", true);
    EXPECT_EQ(xsetest::ReadTextFile(home.path() / "Setup" / "Keelon.ini"),
              "[pilotdesk]\ntrace=2\n");
    // Once stopped, the module lines are not written.
    EXPECT_EQ(TraceWriteAttached("/m/keelon/x.so", "B"), 0);
    EXPECT_EQ(TraceWriteDetached("/m/keelon/x.so"), 0);
    EXPECT_EQ(libsystest::ReadLines(home.path() / "log" / "pilotdesk.log").size(), 2u);
    EXPECT_EQ(traceLogFile.Init(3, "/m/keelon/x.so", "B", 0), 0);
    EXPECT_FALSE(TraceIsActive());
  }
  fs::current_path(saved);
}

}  // namespace
