#include "platform/localtime.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <string>

namespace platform {
namespace {

TEST(LocalTimeTest, MatchesTheLibraryTextAndFields) {
  // Single- and two-digit days, midnight, the end of a year, a leap day.
  const std::time_t moments[] = {86400, 1076144707, 1234567890, 951782400, 1704067199, 1661953378};
  for (const std::time_t when : moments) {
    // The C library's fields and names are the reference (one thread here;
    // the "C" locale's names are English). Its asctime is not: Windows pads
    // the day with a zero.
    const std::tm broken = *std::localtime(&when);
    char names[16] = {}, day[8] = {}, clock[16] = {};
    std::strftime(names, sizeof names, "%a %b", &broken);
    std::snprintf(day, sizeof day, "%3d", broken.tm_mday);
    std::strftime(clock, sizeof clock, " %H:%M:%S %Y", &broken);
    const std::string text = std::string(names) + day + clock;
    const std::optional<LocalTime> local = LocalTimeAt(when);
    ASSERT_TRUE(local.has_value()) << when;
    EXPECT_EQ(std::string(local->text), text) << when;
    EXPECT_EQ(local->hour, broken.tm_hour);
    EXPECT_EQ(local->minute, broken.tm_min);
    EXPECT_EQ(local->second, broken.tm_sec);
  }
  EXPECT_TRUE(LocalTimeNow().has_value());
}

}  // namespace
}  // namespace platform
