#include "libsys/tracelinelayout.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

#include "support/capturedoutput.h"

namespace {

TEST(TraceLineLayoutTest, WritesTheLayoutOfEachLevelAndFlushes) {
  const platform::LocalTime time{9, 5, 7, "Tue Feb  3 09:05:07 2004"};
  // Level, setting, thread id, clock read, the text written.
  const std::tuple<uint32_t, int32_t, uint32_t, bool, const char*> kCases[] = {
      {0, 1, 77, true,
       "##TRACE:: survey\nInfo : hello 100%\nFile : \"src/x.cpp\" at line 42 in thread 77\n"
       "Time : Tue Feb  3 09:05:07 2004\n"},
      {0, 1, 0, false,
       "##TRACE:: survey\nInfo : hello 100%\nFile : \"src/x.cpp\" at line 42 in thread 0\n"
       "Time : (n/a)\n"},
      {1, 1, 77, true, "09:05:07|  77|src/x.cpp@42|hello 100%\n"},
      {1, 1, 0, true, "09:05:07|src/x.cpp@42|hello 100%\n"},  // before any lock
      {1, 1, 77, false, "src/x.cpp@42|hello 100%\n"},
      {2, 1, 77, true, "09:05:07|hello 100%\n"},
      {2, 1, 77, false, "hello 100%\n"},
      {3, 2, 77, true, "hello 100%\n"},
      {3, 1, 77, true, ""},
      {static_cast<uint32_t>(-1), 2, 77, true, ""}};
  for (const auto& [level, setting, threadId, clock, expected] : kCases) {
    const TraceLineContext context{setting, threadId, "src/x.cpp",
                                   42,      "survey", clock ? &time : nullptr};
    xsetest::CapturedOutput stream;
    ASSERT_NE(stream.file(), nullptr);
    WriteTraceLine(stream.file(), context, level, "hello 100%");
    // Seeing the text in the file before the stream is flushed or closed
    // proves the layout flushed.
    EXPECT_EQ(stream.Flushed(), expected);
  }
}

}  // namespace
