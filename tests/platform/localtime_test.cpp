#include "platform/localtime.h"

#include <gtest/gtest.h>

#include <ctime>
#include <string>

namespace platform {
namespace {

// The C library's own text of `when` without its line feed: the reference.
std::string LibraryText(std::time_t when) {
  struct tm broken {};
  char text[64] = {};
  if (::localtime_r(&when, &broken) == nullptr || ::asctime_r(&broken, text) == nullptr) return {};
  std::string result(text);
  if (!result.empty() && result.back() == '\n') result.pop_back();
  return result;
}

TEST(LocalTimeTest, MatchesTheLibraryTextAndFields) {
  // Single- and two-digit days, midnight, the end of a year, a leap day.
  const std::time_t moments[] = {0, 1076144707, 1234567890, 951782400, 1704067199, 1661953378};
  for (const std::time_t when : moments) {
    const std::optional<LocalTime> local = LocalTimeAt(when);
    ASSERT_TRUE(local.has_value()) << when;
    EXPECT_EQ(std::string(local->text), LibraryText(when)) << when;
    struct tm broken {};
    ::localtime_r(&when, &broken);
    EXPECT_EQ(local->hour, broken.tm_hour);
    EXPECT_EQ(local->minute, broken.tm_min);
    EXPECT_EQ(local->second, broken.tm_sec);
  }
}

}  // namespace
}  // namespace platform
