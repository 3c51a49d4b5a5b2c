#include "tools/xse/utctime.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

struct UtcCase {
  int32_t seconds;
  int32_t micros;
  const char* text;
};

class FormatUtcTest : public ::testing::TestWithParam<UtcCase> {};

TEST_P(FormatUtcTest, GivesIsoTextWithSixDigitsOfMicroseconds) {
  EXPECT_EQ(xsetool::FormatUtc({GetParam().seconds, GetParam().micros}), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Times, FormatUtcTest,
    ::testing::Values(UtcCase{0, 0, "1970-01-01T00:00:00.000000Z"},
                      UtcCase{1714550400, 250000, "2024-05-01T08:00:00.250000Z"},
                      UtcCase{1660867200, 7, "2022-08-19T00:00:00.000007Z"},
                      UtcCase{951782400, 0, "2000-02-29T00:00:00.000000Z"},
                      UtcCase{-2077747200, 0, "1904-02-29T00:00:00.000000Z"},
                      UtcCase{-1, 0, "1969-12-31T23:59:59.000000Z"},
                      UtcCase{INT32_MAX, 999999, "2038-01-19T03:14:07.999999Z"},
                      UtcCase{INT32_MIN, 0, "1901-12-13T20:45:52.000000Z"},
                      // Microseconds outside a second carry into the seconds.
                      UtcCase{0, 1500000, "1970-01-01T00:00:01.500000Z"},
                      UtcCase{0, -1, "1969-12-31T23:59:59.999999Z"}));

TEST(SecondsBetween, CountsMicrosecondsAcrossSecondBoundaries) {
  EXPECT_DOUBLE_EQ(xsetool::SecondsBetween({10, 900000}, {12, 100000}), 1.2);
  EXPECT_DOUBLE_EQ(xsetool::SecondsBetween({12, 100000}, {10, 900000}), -1.2);
  EXPECT_DOUBLE_EQ(xsetool::SecondsBetween({INT32_MIN, 0}, {INT32_MAX, 0}), 4294967295.0);
}

}  // namespace
