// `xse serve`, `xse dump --connect` and `xse run --connect`: a recorded file
// played as a live server on 127.0.0.1 and read through the reader plug-in,
// as a user would; and the plug-in against servers that misbehave.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "platform/tcpsocket.h"
#include "support/runtool.h"
#include "support/tempdir.h"
#include "support/wine.h"
#include "tools/xseserver/xseserver.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace xsetest;

uint16_t FreePort() {
  uint16_t port = 0;
  platform::CloseSocket(platform::ListenOnLoopback(port));
  return port;
}

TEST(XseServeTest, LiveRecordsEqualTheFileLineForLineAndTheWholeFileIsSent) {
  TempDir dir;
  const std::string survey = dir.File("live.xse");
  // Sidescan pings of about 160 KiB in both byte orders: frames larger than
  // any one read.
  const ToolResult made = RunXse({"gen", "--duration", "3", "--samples", "40000", "--byte-order",
                                  "mixed", "--seed", "5", survey});
  ASSERT_EQ(made.status, 0) << made.err;
  const ToolResult fromFile = RunXse({"dump", survey});
  ASSERT_EQ(fromFile.status, 0);
  const std::string port = std::to_string(FreePort());
  // The server in the background, unpaced; the reader connects (retrying
  // while the server starts up) and ends when the server ends the data.
  ChildProcess serve(XSE_XSE_TOOL, {"serve", "--port", port, "--wait", "10", survey});
  ASSERT_TRUE(serve.Started());
  const ToolResult live = RunXse({"dump", "--connect", "127.0.0.1:" + port, "--idle-exit", "10"});
  EXPECT_EQ(live.status, 0) << live.err;
  EXPECT_EQ(live.out, fromFile.out);

  const ToolResult served = serve.Wait();
  const std::string size = std::to_string(std::filesystem::file_size(Utf8Path(survey)));
  EXPECT_EQ(served.status, 0) << served.err;
  EXPECT_THAT(served.out, StartsWith("listening on 127.0.0.1:" + port + ", data port "));
  EXPECT_THAT(served.out, HasSubstr("bytes sent " + size + " of " + size + " in "));
}

// Each server ends the run by itself with the outcome it deserves. A short
// acknowledge and a refused data port are traced in-process with the
// connection; here they would be one more set-up failure.
TEST(XseServeTest, HostileServersEndTheRunWithTheirOutcome) {
  const std::vector<uint8_t> survey = PositionFrames(300);
  ASSERT_GT(survey.size(), 10000u);
  struct Case {
    const char* name;
    std::function<void(xseserver::Options&)> set;
    std::vector<uint8_t> data;  // what the server sends after the set-up
    std::string err;            // what stderr starts with; nothing for a sound run
  };
  const std::vector<uint8_t> none, garbage(5000, 0xA5),
      partial(survey.begin(), survey.begin() + 20);
  const std::string sent = std::to_string(survey.size()), setUpFailed = "xse: the exchange";
  const Case cases[] = {
      // A client slow to start (a program's first start under Wine) still
      // finds a sound server waiting.
      {"sound", [](auto& o) { o.waitMs = 5000; }, survey, ""},
      {"no reply",
       [](auto& o) {
         o.acknowledgeLength = 0;
         o.waitMs = 4000;
       },
       none,
       "xse: the exchange with the XSE server at ADDR failed before any data: no acknowledge"},
      {"port 0", [](auto& o) { o.announcedPort = 0; }, none, setUpFailed},
      {"port 40000", [](auto& o) { o.announcedPort = 40000; }, none, setUpFailed},
      {"garbage", [](auto& o) { o.acknowledgeBytes.assign(100, 0xA5); }, none, setUpFailed},
      {"data port never accepts", [](auto& o) { o.dataNeverAccepts = true; }, none, setUpFailed},
      {"close right after set-up", [](auto&) {}, none, setUpFailed},
      // Bytes that hold no frame are no data, however the server ends (the
      // frame search passes over zeros as over any other word).
      {"garbage then close", [](auto&) {}, garbage, setUpFailed},
      {"part of a frame then close", [](auto&) {}, partial, setUpFailed},
      {"reset mid-stream",
       [&](auto& o) {
         o.resetAfterBytes = survey.size() / 2;
         o.waitMs = 5000;
       },
       survey, "xse: the XSE server at ADDR broke off the data connection"},
      {"silent after set-up",
       [](auto& o) {
         o.closeAfterSurvey = false;
         o.waitMs = 3000;
       },
       none, "xse: no data from the XSE server at ADDR before the idle time ran out"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    // Wine's recv reads a reset after data as an orderly end.
    if (std::string(c.name) == "reset mid-stream" && RunningUnderWine()) continue;
    xseserver::Options options;
    options.waitMs = 600;
    c.set(options);
    xseserver::XseServer server(options);
    std::string error;
    ASSERT_TRUE(server.Start(error)) << error;
    std::thread serving([&] { server.ServeOne(std::span<const uint8_t>(c.data)); });
    const std::string address = "127.0.0.1:" + std::to_string(server.port());
    const auto start = std::chrono::steady_clock::now();
    const ToolResult run = RunXse({"run", "--events", "--connect", address, "--idle-exit",
                                   std::string(c.name) == "silent after set-up" ? "1" : "10"});
    const auto took = std::chrono::steady_clock::now() - start;
    serving.join();
    EXPECT_EQ(run.status, c.err.empty() ? 0 : 1) << run.err;
    std::string err = c.err;
    if (const size_t at = err.find("ADDR"); at != std::string::npos) err.replace(at, 4, address);
    EXPECT_THAT(run.err, StartsWith(err));
    EXPECT_LT(took, std::chrono::seconds(6));
    if (c.err.empty()) {
      EXPECT_THAT(run.out, HasSubstr("{\"event\":\"fileAdded\",\"file\":\"" + address + "\"}"));
      EXPECT_THAT(run.out, HasSubstr("{\"event\":\"finished\",\"result\":0,\"readerResult\":1,"
                                     "\"bytes\":" +
                                     sent + ",\"frames\":300}"));
    }
  }
}

// The files of a recording, in name order, concatenated; each must start
// with a frame start marker (a cut only where a frame starts).
std::string RecordedBytes(const std::filesystem::path& folder, size_t& files) {
  std::vector<std::filesystem::path> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder))
    names.push_back(entry.path());
  std::sort(names.begin(), names.end());
  files = names.size();
  std::string all;
  for (const auto& name : names) {
    EXPECT_EQ(name.extension(), ".xse") << "left unnamed: " << name;
    const std::string bytes = ReadWholeFile(name);
    EXPECT_TRUE(bytes.starts_with("$HSF") || bytes.starts_with("FSH$")) << name;
    all += bytes;
  }
  return all;
}

// Two servers at once, one cut into files of about 1 MB: each folder holds
// the served file byte for byte.
TEST(XseServeTest, RecordKeepsEveryByteOfSeveralServersCutBetweenFrames) {
  TempDir dir;
  const std::string survey = dir.File("s.xse");
  ASSERT_EQ(RunXse({"gen", "--duration", "20", "--byte-order", "mixed", survey}).status, 0);
  const std::string served = ReadWholeFile(survey);
  const std::string ports[] = {std::to_string(FreePort()), std::to_string(FreePort())};
  ChildProcess first(XSE_XSE_TOOL, {"serve", "--port", ports[0], "--wait", "10", survey});
  ChildProcess second(XSE_XSE_TOOL, {"serve", "--port", ports[1], "--wait", "10", survey});
  const std::string out = dir.File("rec");
  const ToolResult recorded =
      RunXse({"record", "--connect", "127.0.0.1:" + ports[0], "--connect", "127.0.0.1:" + ports[1],
              "-o", out, "--rotate-size", "1M", "--idle-exit", "10"});
  EXPECT_EQ(recorded.status, 0) << recorded.err;
  EXPECT_EQ(first.Wait().status, 0);
  EXPECT_EQ(second.Wait().status, 0);
  for (size_t i = 0; i < 2; ++i) {
    size_t files = 0;
    EXPECT_EQ(RecordedBytes(Utf8Path(out + "/127.0.0.1_" + ports[i]), files), served);
    EXPECT_GT(files, 1u) << "no rotation";
  }
}

TEST(XseServeTest, UnreachableServerExitsOne) {
  const std::string closed = "127.0.0.1:" + std::to_string(FreePort());
  for (const auto& args : {std::vector<std::string>{"run", "--connect", closed, "--duration", "1"},
                           std::vector<std::string>{"dump", "--connect", closed}}) {
    EXPECT_EQ(RunXse(args), (ToolResult{1, "",
                                        "xse: cannot reach the XSE server at " + closed +
                                            ": connection refused\n"}));
  }
  // Looked up once; the plug-in connects over IPv4 only.
  const ToolResult ipv6 = RunXse({"dump", "--connect", "[::1]:1"});
  EXPECT_EQ(ipv6.status, 1);
  EXPECT_EQ(ipv6.err,
            "xse: cannot reach the XSE server at [::1]:1: ::1 has IPv6 addresses only, "
            "and the reader connects over IPv4\n");
}

}  // namespace
