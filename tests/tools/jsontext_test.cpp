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

TEST(JsonText, StringsPassUtf8AndEscapeQuotesControlsAndStrayBytes) {
  struct Case {
    std::string text, json;
  } const cases[] = {
      {std::string("a\"b\\c\n\x7f\x01~", 9), "\"a\\\"b\\\\c\\u000A\\u007F\\u0001~\""},
      {"Pr\u00fcfung \u6d4b \U0001F30A", "\"Pr\u00fcfung \u6d4b \U0001F30A\""},
      {"\xe9t\xe9", "\"\\u00E9t\\u00E9\""},                                   // Latin-1, not UTF-8
      {"\xc0\xaf \xed\xa0\x80", "\"\\u00C0\\u00AF \\u00ED\\u00A0\\u0080\""},  // overlong, surrogate
      {"\xe6\xb5", "\"\\u00E6\\u00B5\""},                                     // cut short
  };
  for (const Case& c : cases) {
    std::string out;
    AppendJsonString(out, c.text);
    EXPECT_EQ(out, c.json);
  }
}

}  // namespace
