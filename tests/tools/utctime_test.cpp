#include "tools/xse/utctime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

TEST(FormatUtc, GivesIsoTextWithSixDigitsOfMicroseconds) {
  const struct {
    int32_t seconds, micros;
    const char* text;
  } kCases[] = {{0, 0, "1970-01-01T00:00:00.000000Z"},
                {1714550400, 250000, "2024-05-01T08:00:00.250000Z"},
                {1660867200, 7, "2022-08-19T00:00:00.000007Z"},
                {951782400, 0, "2000-02-29T00:00:00.000000Z"},
                {-2077747200, 0, "1904-02-29T00:00:00.000000Z"},
                {-1, 0, "1969-12-31T23:59:59.000000Z"},
                {INT32_MAX, 999999, "2038-01-19T03:14:07.999999Z"},
                {INT32_MIN, 0, "1901-12-13T20:45:52.000000Z"},
                // Microseconds outside a second carry into the seconds.
                {0, 1500000, "1970-01-01T00:00:01.500000Z"},
                {0, -1, "1969-12-31T23:59:59.999999Z"}};
  for (const auto& c : kCases) EXPECT_EQ(xsetool::FormatUtc({c.seconds, c.micros}), c.text);
}

}  // namespace
