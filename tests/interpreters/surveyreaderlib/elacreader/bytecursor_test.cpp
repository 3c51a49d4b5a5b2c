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
}

TEST(ByteCursor, FailedReadsTakesAndSkipsNeitherMoveNorWrite) {
  ByteCursor cursor(kBytes, false);
  ASSERT_TRUE(cursor.Skip(2));
  auto sub = cursor.Take(4);
  ASSERT_TRUE(sub.has_value());
  EXPECT_EQ(cursor.offset(), 6u);
  uint64_t wide = 0;
  EXPECT_FALSE(sub->Read(wide)) << "sub-cursor is bounded to its 4 bytes";
  uint32_t untouched = 77;
  EXPECT_FALSE(cursor.Read(untouched));
  EXPECT_EQ(untouched, 77u);
  EXPECT_FALSE(cursor.Skip(3));
  EXPECT_FALSE(cursor.Take(3).has_value());
  EXPECT_EQ(cursor.offset(), 6u);
}

TEST(ByteCursor, ArraysAndPeeksPastTheEndOrOverflowingAreRefused) {
  ByteCursor cursor(kBytes, true);
  EXPECT_FALSE(cursor.TakeArray<double>(std::numeric_limits<uint64_t>::max() / 4).has_value());
  EXPECT_FALSE(cursor.TakeArray<double>(2).has_value());
  EXPECT_EQ(cursor.offset(), 0u);
  auto array = cursor.TakeArray<uint16_t>(4);
  ASSERT_TRUE(array.has_value());
  EXPECT_EQ((*array)[3], 0x0708u);
  EXPECT_TRUE(cursor.empty());
  // Peeks go by absolute offset and check the whole width.
  EXPECT_EQ(cursor.PeekAt<uint32_t>(4), 0x05060708u);
  EXPECT_FALSE(cursor.PeekAt<uint32_t>(5).has_value());
  EXPECT_FALSE(cursor.PeekAt<uint32_t>(std::numeric_limits<size_t>::max()).has_value());
}

}  // namespace
