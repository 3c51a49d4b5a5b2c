#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>

namespace {

using elac::ByteCursor;

constexpr std::array<uint8_t, 8> kBytes = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};

TEST(ByteCursor, ReadsInTheByteOrderFixedAtConstruction) {
  ByteCursor big(kBytes, true), little(kBytes, false);
  uint32_t a = 0, b = 0;
  uint16_t c = 0;
  ASSERT_TRUE(big.Read(a) && little.Read(b) && big.Read(c));
  EXPECT_EQ(a, 0x01020304u);
  EXPECT_EQ(b, 0x04030201u);
  EXPECT_EQ(c, 0x0506u);
  // Doubles swap all eight bytes.
  const std::array<uint8_t, 8> pi2 = {0x3F, 0xF9, 0x21, 0xFB, 0x54, 0x44, 0x2D, 0x18};
  const std::array<uint8_t, 8> pi2Little = {0x18, 0x2D, 0x44, 0x54, 0xFB, 0x21, 0xF9, 0x3F};
  double d = 0, e = 0;
  ByteCursor(pi2, true).Read(d);
  ByteCursor(pi2Little, false).Read(e);
  EXPECT_DOUBLE_EQ(d, 1.5707963267948966);
  EXPECT_EQ(d, e);
}

TEST(ByteCursor, FailedReadNeitherMovesNorWrites) {
  ByteCursor cursor(std::span<const uint8_t>(kBytes).first(6), true);
  uint32_t word = 0, untouched = 77;
  uint64_t wide = 0;
  ASSERT_TRUE(cursor.Read(word));
  EXPECT_FALSE(cursor.Read(untouched));
  EXPECT_EQ(untouched, 77u);
  EXPECT_FALSE(cursor.Read(wide));
  EXPECT_FALSE(cursor.Skip(3));
  EXPECT_EQ(cursor.offset(), 4u);
}

TEST(ByteCursor, SubCursorCannotReachPastItsParent) {
  ByteCursor cursor(kBytes, false);
  cursor.Skip(2);
  auto sub = cursor.Take(4);
  ASSERT_TRUE(sub.has_value());
  EXPECT_EQ(cursor.offset(), 6u);
  uint64_t wide = 0;
  EXPECT_FALSE(sub->Read(wide)) << "sub-cursor is bounded to its 4 bytes";
  EXPECT_FALSE(cursor.Take(3).has_value());
  EXPECT_EQ(cursor.offset(), 6u);
}

TEST(ByteCursor, ArrayCountTimesSizeOverflowIsRefused) {
  ByteCursor cursor(kBytes, true);
  EXPECT_FALSE(cursor.TakeArray<double>(std::numeric_limits<uint64_t>::max() / 4).has_value());
  EXPECT_FALSE(cursor.TakeArray<double>(2).has_value());
  EXPECT_EQ(cursor.offset(), 0u);
  auto array = cursor.TakeArray<uint16_t>(4);
  ASSERT_TRUE(array.has_value());
  EXPECT_EQ((*array)[3], 0x0708u);
  EXPECT_TRUE(cursor.empty());
}

TEST(ByteCursor, PeekAtChecksTheWholeWidth) {
  ByteCursor cursor(kBytes, true);
  EXPECT_EQ(cursor.PeekAt<uint32_t>(4), 0x05060708u);
  EXPECT_FALSE(cursor.PeekAt<uint32_t>(5).has_value());
  EXPECT_FALSE(cursor.PeekAt<uint32_t>(std::numeric_limits<size_t>::max()).has_value());
}

}  // namespace
