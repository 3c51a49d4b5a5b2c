// `xse serve` and `xse run --connect`: a recorded file played as a live
// server on 127.0.0.1 and read through the reader plug-in, as a user would.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/tcpsocket.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using xsetest::CommandLine;
using xsetest::RunXse;
using xsetest::ShellQuote;

uint16_t FreePort() {
  uint16_t port = 0;
  platform::CloseSocket(platform::ListenOnLoopback(port));
  return port;
}

TEST(XseServeTest, FileIsPlayedToTheReaderPluginOverLoopback) {
  xsetest::TempDir dir;
  const std::string survey = dir.File("live.xse");
  ASSERT_EQ(RunXse({"gen", "--duration", "1", "--seed", "5", survey}).status, 0);
  const std::string port = std::to_string(FreePort());
  const std::string serveOut = dir.File("serve.out");
  // The server in the background; the reader connects (retrying while the
  // server starts up), reads for a second and a half, and releases.
  const std::string command =
      "( " + CommandLine(XSE_XSE_TOOL, {"serve", "--port", port, "--wait", "10", survey}) + " >" +
      ShellQuote(serveOut) + " 2>&1 & " +
      CommandLine(XSE_XSE_TOOL, {"run", "--connect", "127.0.0.1:" + port, "--duration", "1.5"}) +
      "; status=$?; wait $!; echo \"serve exit $?\" >>" + ShellQuote(serveOut) + "; exit $status )";
  const xsetest::ToolResult run = xsetest::RunCaptured(command);
  EXPECT_EQ(run.status, 0) << run.err;
  EXPECT_THAT(run.out, StartsWith("127.0.0.1:" + port + ": "));
  EXPECT_THAT(run.out, HasSubstr(" bytes processed"));
  EXPECT_THAT(run.out, ::testing::Not(HasSubstr(": 0 bytes")));

  const std::string served = xsetest::ReadWholeFile(serveOut);
  EXPECT_THAT(served, StartsWith("listening on 127.0.0.1:" + port + ", data port "));
  EXPECT_THAT(served, HasSubstr("requests 3, set-up frames 3, bytes sent " +
                                std::to_string(std::filesystem::file_size(survey))));
  EXPECT_THAT(served, HasSubstr("serve exit 0"));
}

TEST(XseServeTest, UsageAndUnreachableServers) {
  struct Case {
    std::vector<std::string> args;
    int status;
    std::string err;
  };
  const std::string closed = "127.0.0.1:" + std::to_string(FreePort());
  const Case cases[] = {
      {{"serve"}, 2, "xse serve: no input file\n"},
      {{"serve", "--port", "70000", "a.xse"}, 2, "xse serve: bad port '70000'\n"},
      {{"serve", "/nonexistent/a.xse"},
       1,
       "xse serve: /nonexistent/a.xse: No such file or directory\n"},
      {{"run", "--connect", "1.2.3:4"},
       2,
       "xse run: bad server address '1.2.3:4' (ADDRESS:PORT)\n"},
      {{"run", "--connect", closed, "--duration", "1"},
       1,
       "xse run: cannot reach the XSE server at " + closed + "\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.args.back());
    const xsetest::ToolResult result = RunXse(c.args);
    EXPECT_EQ(result.status, c.status);
    EXPECT_THAT(result.err, StartsWith(c.err));
  }
}

}  // namespace
