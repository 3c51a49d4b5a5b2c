#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <utility>

namespace {

using elac::ByteCursor;

constexpr std::array<uint8_t, 8> kBytes = {0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x08};

TEST(ByteCursor, ReadsInItsByteOrderAndFailedStepsNeitherMoveNorWrite) {
  ByteCursor big(kBytes, std::endian::big), little(kBytes, std::endian::little);
  uint32_t word = 0;
  ASSERT_TRUE(little.Read(word));
  EXPECT_EQ(word, 0x04030201u);
  ASSERT_TRUE(big.Skip(2));
  auto sub = big.Take(4);
  ASSERT_TRUE(sub.has_value());
  ASSERT_TRUE(sub->Read(word));
  EXPECT_EQ(word, 0x03040506u);
  EXPECT_FALSE(sub->Read(word)) << "a sub-cursor is bounded to its bytes";
  word = 77;
  EXPECT_FALSE(big.Read(word));
  EXPECT_EQ(word, 77u);
  EXPECT_FALSE(big.Skip(3));
  EXPECT_FALSE(big.Take(3).has_value());
  EXPECT_EQ(big.offset(), 6u);
}

TEST(ByteCursor, ArraysAndSlicesPastTheEndOrOverflowingAreRefused) {
  ByteCursor cursor(kBytes, std::endian::big);
  EXPECT_FALSE(cursor.TakeArray<double>(std::numeric_limits<uint64_t>::max() / 4).has_value());
  EXPECT_FALSE(cursor.TakeArray<double>(2).has_value());
  EXPECT_EQ(cursor.offset(), 0u);
  auto array = cursor.TakeArray<uint16_t>(4);
  ASSERT_TRUE(array.has_value());
  EXPECT_EQ((*array)[3], 0x0708u);
  EXPECT_TRUE(cursor.empty());
  // Slices cut inside the array only, without wrap-around.
  const auto middle = array->Slice(1, 2);
  ASSERT_EQ(middle.size(), 2u);
  EXPECT_EQ(middle[1], 0x0506u);
  for (const auto& [first, count] :
       {std::pair<size_t, size_t>{4, 0}, {3, 2}, {5, 0}, {1, SIZE_MAX}})
    EXPECT_EQ(array->Slice(first, count).size(), 0u) << first << " " << count;
}

}  // namespace
