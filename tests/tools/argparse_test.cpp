#include "tools/xse/argparse.h"

#include <gtest/gtest.h>

#include <optional>
#include <utility>

namespace {

using namespace xsetool;

TEST(ParseByteSize, TakesBinaryUnitsOrNothing) {
  const std::pair<const char*, uint64_t> kValid[] = {
      {"1048576", 1048576}, {"0", 0},
      {"1G", 1ull << 30},   {"1GiB", 1ull << 30},
      {"3m", 3ull << 20},   {"64KiB", 64ull << 10},
      {"2T", 2ull << 40},   {"16777215T", 16777215ull << 40}};
  for (const auto& [text, bytes] : kValid) EXPECT_EQ(ParseByteSize(text), bytes) << text;
  // 16777216T is past 2^64.
  for (const char* text :
       {"16777216T", "18446744073709551616", "", "G", "1.5G", "1GB", "-1", " 1", "1 G"})
    EXPECT_EQ(ParseByteSize(text), std::nullopt) << text;
}

TEST(ParseUnsigned, AcceptsDigitsOnly) {
  EXPECT_EQ(ParseUnsigned("0"), 0u);
  EXPECT_EQ(ParseUnsigned("18446744073709551615"), UINT64_MAX);
  for (const char* text : {"", "+1", "-1", "1x", "0x10", " 1", "18446744073709551616"})
    EXPECT_EQ(ParseUnsigned(text), std::nullopt) << text;
}

TEST(ParsePositive, AcceptsFiniteNumbersAboveZero) {
  EXPECT_EQ(ParsePositive("60"), 60.0);
  EXPECT_EQ(ParsePositive("0.25"), 0.25);
  EXPECT_EQ(ParsePositive(".5"), 0.5);
  for (const char* text : {"", "0", "-1", "+1", "inf", "nan", "1e999", "1s", " 1"})
    EXPECT_EQ(ParsePositive(text), std::nullopt) << text;
}

TEST(ParseSigned, Int32AndFiniteNumbersTakeAMinusSign) {
  EXPECT_EQ(ParseInt32("-2147483648"), INT32_MIN);
  EXPECT_EQ(ParseInt32("2147483647"), INT32_MAX);
  for (const char* text : {"", "-", "+1", "--1", "2147483648", "1.0", " 1"})
    EXPECT_EQ(ParseInt32(text), std::nullopt) << text;
  EXPECT_EQ(ParseFinite("0"), 0.0);
  EXPECT_EQ(ParseFinite("-.5"), -0.5);
  for (const char* text : {"", "-", "abc", "-inf", "nan", "1e999", "+1", "1 "})
    EXPECT_EQ(ParseFinite(text), std::nullopt) << text;
}

}  // namespace
