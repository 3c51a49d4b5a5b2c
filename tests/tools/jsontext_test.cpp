#include "tools/xse/jsontext.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

namespace {

using namespace xsetool;

template <typename T>
std::string Json(T value) {
  std::string out;
  AppendJsonNumber(out, value);
  return out;
}

TEST(JsonText, FloatsUseTheShortestTextOfTheirOwnType) {
  EXPECT_EQ(Json(0.1f), "0.1");
  EXPECT_EQ(Json(0.1), "0.1");
  EXPECT_EQ(Json(static_cast<double>(0.1f)), "0.10000000149011612");
  EXPECT_EQ(Json(90.0), "90");
  EXPECT_EQ(Json(-0.0), "-0");
  EXPECT_EQ(Json(1500.0f), "1500");
  EXPECT_EQ(Json(std::numeric_limits<double>::quiet_NaN()), "null");
  EXPECT_EQ(Json(-std::numeric_limits<float>::infinity()), "null");
  EXPECT_EQ(Json(int64_t{INT32_MIN}), "-2147483648");
  EXPECT_EQ(Json(uint64_t{0x14238}), "82488");
}

TEST(JsonText, StringsEscapeQuotesControlsAndHighBytes) {
  std::string out;
  AppendJsonString(out, std::string("a\"b\\c\n\x7f\xe9\x01~", 10));
  EXPECT_EQ(out, "\"a\\\"b\\\\c\\u000A\\u007F\\u00E9\\u0001~\"");
}

}  // namespace
