// `xse record` killed with SIGKILL, or stopped by a file that cannot grow:
// every closed file is whole and the files, the open .part one last, hold
// a prefix of the session byte for byte.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/tcpsocket.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using namespace xsetest;

class RecordCrashTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Frames of a few KiB, then sidescan pings of about 160 KiB: files cut
    // at 256 KiB grow past it by a little first, by much later.
    const std::string small = dir_.File("small.xse"), big = dir_.File("big.xse");
    ASSERT_EQ(RunXse({"gen", "--duration", "5", "--seed", "4", small}).status, 0);
    ASSERT_EQ(RunXse({"gen", "--duration", "3", "--samples", "40000", "--seed", "5", big}).status,
              0);
    served_ = ReadWholeFile(small) + ReadWholeFile(big);
    std::ofstream(Utf8Path(survey_), std::ios::binary) << served_;
  }

  // Starts a server of the survey, paced to `rate` (empty: unpaced).
  std::unique_ptr<ChildProcess> Serve(const std::string& rate) {
    uint16_t port = 0;
    platform::CloseSocket(platform::ListenOnLoopback(port));
    port_ = std::to_string(port);
    std::vector<std::string> args{"serve", "--port", port_, "--wait", "10", survey_};
    if (!rate.empty()) args.insert(args.begin() + 1, {"--rate", rate});
    return std::make_unique<ChildProcess>(XSE_XSE_TOOL, args);
  }

  std::vector<std::string> RecordArgs() const {
    return {"record",        "--connect", "127.0.0.1:" + port_, "-o", folder_,
            "--rotate-size", "256K",      "--idle-exit",        "10"};
  }

  // Checks the recording and returns how many closed files it has.
  size_t CheckRecording() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(Utf8Path(folder_)))
      names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    std::string all;
    size_t closed = 0, open = 0;
    for (const std::string& name : names) {
      const std::string path = folder_ + "/" + name;
      if (name.ends_with(".xse")) {
        ++closed;
        EXPECT_EQ(RunXse({"check", path}).status, 0) << name;
      } else {
        ++open;
        EXPECT_TRUE(name.ends_with(".xse.part")) << name;
        EXPECT_EQ(name, names.back()) << "the open file is the last one";
      }
      all += ReadWholeFile(path);
    }
    EXPECT_LE(open, 1u);
    EXPECT_EQ(all, served_.substr(0, all.size())) << "not a prefix of the session";
    return closed;
  }

  TempDir dir_;
  const std::string survey_ = dir_.File("survey.xse");
  const std::string folder_ = dir_.File("rec");
  std::string served_;
  std::string port_;
};

TEST_F(RecordCrashTest, KilledAtAnyMomentLeavesWholeFilesAndAPrefix) {
  for (const auto after : {300ms, 900ms}) {
    SCOPED_TRACE(after.count());
    std::filesystem::remove_all(Utf8Path(folder_));
    const auto serve = Serve("4M");
    ChildProcess record(XSE_XSE_TOOL, RecordArgs());
    std::this_thread::sleep_for(after);
    ::kill(static_cast<pid_t>(record.Id()), SIGKILL);
    record.Wait();
    const size_t closed = CheckRecording();
    if (after >= 900ms) {
      EXPECT_GE(closed, 2u);
    }
  }
}

TEST_F(RecordCrashTest, AFileThatCannotGrowEndsTheRunKeepingTheWholeFiles) {
  const auto serve = Serve("");
  // Past the small frames' files, short of the big frames' ones. The limit
  // and the ignored signal pass to the child: the write fails instead.
  rlimit before{};
  ::getrlimit(RLIMIT_FSIZE, &before);
  const rlimit limit{300000, before.rlim_max};
  const auto handler = ::signal(SIGXFSZ, SIG_IGN);
  ::setrlimit(RLIMIT_FSIZE, &limit);
  ChildProcess record(XSE_XSE_TOOL, RecordArgs());
  ::setrlimit(RLIMIT_FSIZE, &before);
  ::signal(SIGXFSZ, handler);
  const ToolResult result = record.Wait();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("cannot write " + folder_ + "/"));
  EXPECT_THAT(result.err, HasSubstr("File too large"));
  EXPECT_GE(CheckRecording(), 3u);
}

}  // namespace
