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

platform::LocalTime FixedTime() {
  platform::LocalTime time;
  time.hour = 9;
  time.minute = 5;
  time.second = 7;
  std::strcpy(time.text, "Tue Feb  3 09:05:07 2004");
  return time;
}

struct LayoutCase {
  const char* name;
  uint32_t level;
  int32_t setting;
  uint32_t threadId;
  bool clock;
  const char* expected;
};

class TraceLineLayoutTest : public ::testing::TestWithParam<LayoutCase> {};

TEST_P(TraceLineLayoutTest, WritesTheLayoutOfItsLevel) {
  const LayoutCase& c = GetParam();
  const platform::LocalTime time = FixedTime();
  TraceLineContext context;
  context.setting = c.setting;
  context.threadId = c.threadId;
  context.sourceFile = "src/x.cpp";
  context.sourceLine = 42;
  context.localTime = c.clock ? &time : nullptr;
  EXPECT_EQ(Written(context, c.level, "hello 100%"), c.expected);
}

INSTANTIATE_TEST_SUITE_P(
    Levels, TraceLineLayoutTest,
    ::testing::Values(
        LayoutCase{"alert_block", 0, 1, 77, true,
                   "##TRACE:: \nInfo : hello 100%\nFile : \"src/x.cpp\" at line 42 in thread 77\n"
                   "Time : Tue Feb  3 09:05:07 2004\n"},
        LayoutCase{"alert_block_without_clock", 0, 1, 0, false,
                   "##TRACE:: \nInfo : hello 100%\nFile : \"src/x.cpp\" at line 42 in thread 0\n"
                   "Time : (n/a)\n"},
        LayoutCase{"event_with_thread", 1, 1, 77, true, "09:05:07|  77|src/x.cpp@42|hello 100%\n"},
        LayoutCase{"event_with_wide_thread", 1, 1, 1234567, true,
                   "09:05:07|1234567|src/x.cpp@42|hello 100%\n"},
        LayoutCase{"event_before_any_lock", 1, 1, 0, true, "09:05:07|src/x.cpp@42|hello 100%\n"},
        LayoutCase{"event_without_clock", 1, 1, 77, false, "src/x.cpp@42|hello 100%\n"},
        LayoutCase{"module_line", 2, 1, 77, true, "09:05:07|hello 100%\n"},
        LayoutCase{"module_line_without_clock", 2, 1, 77, false, "hello 100%\n"},
        LayoutCase{"verbose_at_setting_2", 3, 2, 77, true, "hello 100%\n"},
        LayoutCase{"verbose_at_setting_1", 3, 1, 77, true, ""},
        LayoutCase{"unknown_level", 4, 2, 77, true, ""},
        LayoutCase{"negative_level", static_cast<uint32_t>(-1), 2, 77, true, ""}),
    [](const ::testing::TestParamInfo<LayoutCase>& p) { return std::string(p.param.name); });

TEST(TraceAlertHeaderTest, ShowsTheProgramName) {
  const platform::LocalTime time = FixedTime();
  TraceLineContext context;
  context.programName = "survey";
  context.localTime = &time;
  EXPECT_EQ(Written(context, 0, "x").substr(0, 17), "##TRACE:: survey\n");
}

}  // namespace
