// A FIFO: `xse check` answers no at once without opening it for reading
// (which would wait for a writer); the reading commands take it as a
// stream and print what they print for a file of the same bytes.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <thread>

#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using namespace xsetest;

// Writes `bytes` into `fifo` once a reader has opened it; gives up after
// ten seconds without one, so a tool that never opens cannot hang the test.
void WriteWhenRead(const std::string& fifo, const std::string& bytes) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  int out = -1;
  while ((out = ::open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) < 0 && errno == ENXIO &&
         std::chrono::steady_clock::now() < deadline)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  if (out < 0) return;
  ::fcntl(out, F_SETFL, ::fcntl(out, F_GETFL) & ~O_NONBLOCK);
  for (size_t at = 0; at < bytes.size();) {
    const ssize_t wrote = ::write(out, bytes.data() + at, bytes.size() - at);
    if (wrote <= 0) break;
    at += static_cast<size_t>(wrote);
  }
  ::close(out);
}

TEST(XseFifo, CheckSaysNoAtOnceAndTheReadersTakeItAsAStream) {
  TempDir dir;
  const std::string fifo = dir.File("pipe.xse"), file = dir.File("survey.xse");
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  ASSERT_EQ(RunXse({"gen", "--duration", "2", file}).status, 0);
  EXPECT_EQ(
      RunXse({"check", fifo}),
      (ToolResult{1, fifo + ": no\n", "xse: cannot open " + fifo + ": not a regular file\n"}));
  const std::string survey = ReadWholeFile(file);
  for (const char* command : {"dump", "soundings"}) {
    std::thread writer(WriteWhenRead, fifo, survey);
    const ToolResult streamed = RunXse({command, fifo});
    writer.join();
    ToolResult fromFile = RunXse({command, file});
    // soundings names each input in its closing line on stderr.
    for (size_t at; (at = fromFile.err.find(file)) != std::string::npos;)
      fromFile.err.replace(at, file.size(), fifo);
    EXPECT_EQ(streamed, fromFile) << command;
    EXPECT_NE(streamed.out, "") << command;
  }
}

}  // namespace
