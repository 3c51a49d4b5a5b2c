#include "libsys/tracelinelayout.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// What WriteTraceLine puts into a stream, and whether it flushed it.
std::string Written(const TraceLineContext& context, uint32_t level, const char* text) {
  char* buffer = nullptr;
  size_t size = 0;
  std::FILE* stream = ::open_memstream(&buffer, &size);
  if (stream == nullptr) return "<no stream>";
  WriteTraceLine(stream, context, level, text);
  // open_memstream publishes its buffer only on flush: seeing the text before
  // closing proves the layout flushed.
  std::string result = buffer != nullptr ? std::string(buffer, size) : std::string();
  std::fclose(stream);
  std::free(buffer);
  return result;
}

struct LayoutCase {
  uint32_t level;
  int32_t setting;
  uint32_t threadId;
  bool clock;
  const char* expected;
};

class TraceLineLayoutTest : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(TraceLineLayoutTest, WritesTheLayoutOfItsLevel) {
  const LayoutCase& c = GetParam();
  platform::LocalTime time;
  time.hour = 9;
  time.minute = 5;
  time.second = 7;
  std::strcpy(time.text, "Tue Feb  3 09:05:07 2004");
  const TraceLineContext context{c.setting, c.threadId, "src/x.cpp",
                                 42,        "survey",   c.clock ? &time : nullptr};
  EXPECT_EQ(Written(context, c.level, "hello 100%"), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Levels, TraceLineLayoutTest,
    ::testing::Values(
        LayoutCase{0, 1, 77, true,
                   "##TRACE:: survey\nInfo : hello 100%\nFile : \"src/x.cpp\" at line 42 in "
                   "thread 77\nTime : Tue Feb  3 09:05:07 2004\n"},
        LayoutCase{0, 1, 0, false,
                   "##TRACE:: survey\nInfo : hello 100%\nFile : \"src/x.cpp\" at line 42 in "
                   "thread 0\nTime : (n/a)\n"},
        LayoutCase{1, 1, 77, true, "09:05:07|  77|src/x.cpp@42|hello 100%\n"},
        LayoutCase{1, 1, 1234567, true, "09:05:07|1234567|src/x.cpp@42|hello 100%\n"},
        LayoutCase{1, 1, 0, true, "09:05:07|src/x.cpp@42|hello 100%\n"},  // before any lock
        LayoutCase{1, 1, 77, false, "src/x.cpp@42|hello 100%\n"},
        LayoutCase{2, 1, 77, true, "09:05:07|hello 100%\n"},
        LayoutCase{2, 1, 77, false, "hello 100%\n"}, LayoutCase{3, 2, 77, true, "hello 100%\n"},
        LayoutCase{3, 1, 77, true, ""}, LayoutCase{4, 2, 77, true, ""},
        LayoutCase{static_cast<uint32_t>(-1), 2, 77, true, ""}));

}  // namespace
