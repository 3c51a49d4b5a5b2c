// `xse run` as users and scripts run it: events, outcomes, exit codes, and
// Ctrl-C.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "support/runtool.h"
#include "support/tempdir.h"
#include "tools/xse/commands.h"

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace xsetest;

std::string Progress(int64_t percent, int64_t done, int64_t total) {
  return "{\"event\":\"progress\",\"percent\":" + std::to_string(percent) +
         ",\"done\":" + std::to_string(done) + ",\"total\":" + std::to_string(total) + "}";
}

TEST(XseRun, EventsOfOneFileInOrder) {
  TempDir dir;
  const auto bytes = PositionFrames(2, 1660867200, 123456);
  const std::string file = dir.Write("nav.xse", bytes);
  const int64_t total = static_cast<int64_t>(bytes.size());
  const int64_t frame = total / 2;
  const auto result = RunXse({"run", "--events", file});
  EXPECT_EQ(result.status, 0) << result.err;
  // The first step consumes the first frame up to its end marker, the
  // second that marker and the second frame up to its own.
  EXPECT_THAT(
      SplitLines(result.out),
      ElementsAre(Progress(0, 0, total), Progress((frame - 4) * 100 / total, frame - 4, total),
                  Progress((total - 4) * 100 / total, total - 4, total),
                  Progress(100, total - 4, total),
                  "{\"event\":\"fileAdded\",\"file\":\"" + file + "\"}",
                  "{\"event\":\"finished\",\"result\":0,\"readerResult\":0,\"startTimeSet\":1,"
                  "\"startTimeSec\":1660867200,\"startTimeMs\":123}"));
}

TEST(XseRun, MissingMiddleFileIsLeftOut) {
  TempDir dir;
  const std::string first = dir.Write("first.xse", PositionFrames(2));
  const std::string third = dir.Write("third.xse", PositionFrames(2));
  const std::string missing = dir.File("second.xse");
  const auto events = RunXse({"run", "--events", first, missing, third});
  EXPECT_EQ(events.status, 1);
  std::vector<std::string> outcomes;
  for (const auto& line : SplitLines(events.out)) {
    if (line.find("\"progress\"") == std::string::npos) outcomes.push_back(line);
  }
  const std::string reason = "cannot open " + missing + ": ";
  EXPECT_THAT(outcomes,
              ElementsAre(StartsWith("{\"event\":\"fileFailed\",\"file\":\"" + missing +
                                     "\",\"reason\":\"" + reason),
                          "{\"event\":\"fileAdded\",\"file\":\"" + first + "\"}",
                          "{\"event\":\"fileAdded\",\"file\":\"" + third + "\"}",
                          HasSubstr("{\"event\":\"finished\",\"result\":1,\"readerResult\":0,")));
  EXPECT_THAT(events.err, StartsWith("xse: " + reason));
  const auto plain = RunXse({"run", first, missing, third});
  EXPECT_EQ(plain.status, 1);
  EXPECT_EQ(plain.out, first + ": read\n" + missing + ": not recognised\n" + third + ": read\n");
  EXPECT_THAT(plain.err, StartsWith("xse: " + reason));
}

TEST(XseRun, ExtensionCheckCanBeSwitchedOff) {
  TempDir dir;
  const std::string file = dir.Write("survey.dat", PositionFrames(1));
  const auto checked = RunXse({"run", "--events", file});
  EXPECT_EQ(checked.status, 1);
  // Nothing left to read: the plug-in's run returns at once.
  const std::string reason = file + ": not an .xse file (--no-ext-check reads it)";
  EXPECT_EQ(checked.out, "{\"event\":\"fileFailed\",\"file\":\"" + file + "\",\"reason\":\"" +
                             reason +
                             "\"}\n{\"event\":\"finished\",\"result\":1,\"readerResult\":0,"
                             "\"startTimeSet\":0,\"startTimeSec\":0,\"startTimeMs\":0}\n");
  EXPECT_EQ(checked.err, "xse: " + reason + "\n");
  EXPECT_EQ(RunXse({"run", "--no-ext-check", file}), (ToolResult{0, file + ": read\n", ""}));
}

TEST(XseRun, ModuleThatDoesNotLoadIsReported) {
  TempDir dir;
  const auto result = RunToolWith(XSE_XSE_TOOL, {"run", "a.xse"}, dir.Folder(),
                                  {{"XSE_READER_MODULE", dir.File("none.module")}});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("xse: cannot load the reader plug-in: "));
}

TEST(XseRun, CtrlCStopsTheRunWithoutReportingTheCurrentFile) {
  TempDir dir;
  // Each file reports about a hundred progress lines: many files fill the
  // pipe, so the reader thread waits on it in the middle of the run while
  // the test sends the interrupt.
  std::vector<std::string> args(40, dir.Write("long.xse", PositionFrames(200)));
  args.insert(args.begin(), {"run", "--events"});
  ChildProcess child(XSE_XSE_TOOL, args, {"", {}, true});
  ASSERT_TRUE(child.Started());
  std::string text = child.ReadOutput(4096, std::chrono::seconds(30));  // the run has begun
  ASSERT_FALSE(text.empty());
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  // Windows delivers Ctrl-Break only to a child on the sender's console
  // (Wine run without a terminal has none).
  if (!child.Interrupt()) GTEST_SKIP() << "no console to deliver the interrupt through";
  // Drain the pipe only once xse has seen the interrupt, or the reader
  // thread may race through the remaining files.
  std::this_thread::sleep_for(std::chrono::milliseconds(300));
  const ToolResult result = child.Wait();
  EXPECT_EQ(result.status, 130) << result.err;
  text += result.out;

  const std::vector<std::string> lines = SplitLines(text);
  ASSERT_GE(lines.size(), 2u);
  EXPECT_THAT(lines.back(),
              HasSubstr("{\"event\":\"finished\",\"result\":130,\"readerResult\":-1,"));
  EXPECT_THAT(lines[lines.size() - 2], HasSubstr("{\"event\":\"progress\",\"percent\":100,"));
  int added = 0;
  for (const auto& line : lines) added += line.find("fileAdded") != std::string::npos ? 1 : 0;
  EXPECT_LT(added, 40);
}

// Only a stop asked for is "stopped": the plug-in's -1 for a source it
// could not get memory for is a failure.
TEST(XseRun, ExitStatusOfAFileRun) {
  EXPECT_EQ(xsetool::FileRunExitStatus(0, false, true), 0);
  EXPECT_EQ(xsetool::FileRunExitStatus(0, false, false), 1);
  EXPECT_EQ(xsetool::FileRunExitStatus(-1, true, false), 130);
  EXPECT_EQ(xsetool::FileRunExitStatus(-1, false, true), 1);
}

}  // namespace
