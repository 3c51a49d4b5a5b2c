// The bulk conversions must give exactly what converting value by value
// gives, for every length (the blocks and the rest), both byte orders and
// awkward values (NaN payloads, infinities, subnormals, floats out of range),
// with every set of vector loops this processor runs.
#include "interpreters/surveyreaderlib/elacreader/wireconvert.h"

#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace {

using elac::ScalarArray;

template <typename T>
std::vector<uint8_t> Wire(const std::vector<T>& values, std::endian order) {
  std::vector<uint8_t> bytes(values.size() * sizeof(T));
  for (size_t i = 0; i < values.size(); ++i) {
    auto bits = std::bit_cast<std::conditional_t<sizeof(T) == 8, uint64_t, uint16_t>>(values[i]);
    for (size_t b = 0; b < sizeof(T); ++b) {
      const size_t shift = 8 * (order == std::endian::big ? sizeof(T) - 1 - b : b);
      bytes[i * sizeof(T) + b] = static_cast<uint8_t>(bits >> shift);
    }
  }
  return bytes;
}

std::vector<double> AwkwardDoubles(size_t count, std::mt19937_64& random) {
  const double specials[] = {0.0,
                             -0.0,
                             1.5,
                             -1e300,
                             1e-310,
                             std::numeric_limits<double>::infinity(),
                             std::numeric_limits<double>::quiet_NaN(),
                             std::bit_cast<double>(0x7FF0000000000001ull),  // signalling NaN
                             std::bit_cast<double>(0xFFF8DEADBEEF0000ull),
                             3.4028235677973366e38};  // rounds to float infinity
  std::vector<double> values(count);
  for (size_t i = 0; i < count; ++i) {
    values[i] = random() % 3 == 0 ? specials[random() % std::size(specials)]
                                  : std::bit_cast<double>(random());
  }
  return values;
}

uint32_t Bits(float value) { return std::bit_cast<uint32_t>(value); }

using WireConvert = testing::TestWithParam<const elac::WireKernels*>;

std::vector<const elac::WireKernels*> UsableSets() {
  const auto list = elac::UsableWireKernels();
  return {list.sets, list.sets + list.count};
}

INSTANTIATE_TEST_SUITE_P(EverySet, WireConvert, testing::ValuesIn(UsableSets()), [](const auto& p) {
  std::string name = p.param->name;
  std::erase(name, '-');
  return name;
});

TEST_P(WireConvert, DoublesMatchConvertingOneByOne) {
  std::mt19937_64 random(11);
  for (size_t count = 0; count < 40; ++count) {
    for (std::endian order : {std::endian::big, std::endian::little}) {
      for (double scale : {1.0, -1.0, 0.5, -elac::kRadiansToDegrees}) {
        const auto values = AwkwardDoubles(count, random);
        const auto wire = Wire(values, order);
        const ScalarArray<double> array(wire.data(), count, order);
        std::vector<float> out(count + 1, 7.0f);
        elac::StoreDoublesReversed(array, scale, out.data(), *GetParam());
        for (size_t k = 0; k < count; ++k) {
          ASSERT_EQ(Bits(out[count - 1 - k]), Bits(static_cast<float>(values[k] * scale)))
              << "count " << count << " value " << k;
        }
        EXPECT_EQ(out[count], 7.0f) << "nothing written past the end";
      }
    }
  }
}

TEST_P(WireConvert, SamplesMatchConvertingOneByOne) {
  std::mt19937_64 random(12);
  for (size_t count : {0u, 1u, 7u, 8u, 9u, 15u, 16u, 17u, 31u, 32u, 33u, 1000u, 1003u}) {
    for (std::endian order : {std::endian::big, std::endian::little}) {
      std::vector<uint16_t> values(count);
      for (auto& value : values) value = static_cast<uint16_t>(random());
      if (count > 0) values[0] = 0xFFFF;
      const auto wire = Wire(values, order);
      std::vector<float> out(count + 1, 7.0f);
      elac::StoreSamplesReversed(ScalarArray<uint16_t>(wire.data(), count, order), out.data(),
                                 *GetParam());
      for (size_t k = 0; k < count; ++k)
        ASSERT_EQ(out[count - 1 - k], static_cast<float>(values[k])) << count << " " << k;
      EXPECT_EQ(out[count], 7.0f);
    }
  }
}

TEST_P(WireConvert, ScaleInPlaceTouchesOnlyTheCountedValues) {
  for (size_t count : {0u, 1u, 3u, 4u, 5u, 9u, 17u}) {
    std::vector<float> values(count + 1);
    for (size_t i = 0; i <= count; ++i) values[i] = 1.5f * static_cast<float>(i) + 0.25f;
    const auto before = values;
    elac::ScaleInPlace(values.data(), count, 4.0f, *GetParam());
    for (size_t i = 0; i < count; ++i) EXPECT_EQ(values[i], before[i] * 4.0f);
    EXPECT_EQ(values[count], before[count]);
  }
}

TEST_P(WireConvert, QualitiesMapEveryCodeAndReverse) {
  // Every code at every position of a block and of the rest.
  for (size_t count : {1u, 15u, 16u, 17u, 31u, 32u, 33u, 256u, 300u}) {
    std::vector<uint8_t> codes(count);
    for (size_t i = 0; i < count; ++i) codes[i] = static_cast<uint8_t>(i * 7 + count);
    std::vector<uint8_t> out(count + 1, 99);
    elac::StoreQualitiesReversed(ScalarArray<uint8_t>(codes.data(), count, std::endian::big),
                                 out.data(), *GetParam());
    for (size_t k = 0; k < count; ++k) {
      const uint8_t code = codes[k];
      const uint8_t expected = code >= 1 && code <= 15 ? static_cast<uint8_t>(16 - code) : 0;
      ASSERT_EQ(out[count - 1 - k], expected) << "code " << int{code};
    }
    EXPECT_EQ(out[count], 99);
  }
}

}  // namespace
