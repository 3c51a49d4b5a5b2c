#include "platform/localtime.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

namespace platform {
namespace {

TEST(LocalTimeTest, MatchesTheLibraryTextAndFields) {
  // Single- and two-digit days, midnight, the end of a year, a leap day.
  const std::time_t moments[] = {86400, 1076144707, 1234567890, 951782400, 1704067199, 1661953378};
  for (const std::time_t when : moments) {
    // The C library's own text and fields are the reference (one thread here).
    const std::tm broken = *std::localtime(&when);
    const std::string text = std::asctime(&broken);
    const std::optional<LocalTime> local = LocalTimeAt(when);
    ASSERT_TRUE(local.has_value()) << when;
    EXPECT_EQ(std::string(local->text) + "\n", text) << when;
    EXPECT_EQ(local->hour, broken.tm_hour);
    EXPECT_EQ(local->minute, broken.tm_min);
    EXPECT_EQ(local->second, broken.tm_sec);
  }
  EXPECT_TRUE(LocalTimeNow().has_value());
}

}  // namespace
}  // namespace platform
