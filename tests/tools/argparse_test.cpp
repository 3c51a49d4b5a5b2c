#include "tools/xse/argparse.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace {

using xsetool::ParseByteSize;
using xsetool::ParsePositive;
using xsetool::ParseUnsigned;

struct SizeCase {
  const char* text;
  std::optional<uint64_t> bytes;
};

class ParseByteSizeTest : public ::testing::TestWithParam<SizeCase> {};

TEST_P(ParseByteSizeTest, TakesBinaryUnitsOrNothing) {
  EXPECT_EQ(ParseByteSize(GetParam().text), GetParam().bytes) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    Texts, ParseByteSizeTest,
    ::testing::Values(SizeCase{"1048576", 1048576}, SizeCase{"0", 0}, SizeCase{"1G", 1ull << 30},
                      SizeCase{"1GiB", 1ull << 30}, SizeCase{"3m", 3ull << 20},
                      SizeCase{"64KiB", 64ull << 10}, SizeCase{"2T", 2ull << 40},
                      SizeCase{"16777215T", 16777215ull << 40},
                      SizeCase{"16777216T", std::nullopt},  // past 2^64
                      SizeCase{"18446744073709551616", std::nullopt}, SizeCase{"", std::nullopt},
                      SizeCase{"G", std::nullopt}, SizeCase{"1.5G", std::nullopt},
                      SizeCase{"1GB", std::nullopt}, SizeCase{"-1", std::nullopt},
                      SizeCase{" 1", std::nullopt}, SizeCase{"1 G", std::nullopt}));

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

}  // namespace
