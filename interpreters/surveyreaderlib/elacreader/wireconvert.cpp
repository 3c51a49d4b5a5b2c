#include "interpreters/surveyreaderlib/elacreader/wireconvert.h"

#include <bit>

namespace elac {
namespace {

bool NeedsSwap(std::endian order) { return order != std::endian::native; }

uint8_t QualityFromCode(uint8_t code) {
  return code >= 1 && code <= 15 ? static_cast<uint8_t>(16 - code) : uint8_t{0};
}

}  // namespace

void StoreDoublesReversed(const ScalarArray<double>& values, double scale, float* out,
                          const WireKernels& kernels) {
  const size_t count = values.size();
  size_t k = kernels.doublesReversed(values.data(), count, NeedsSwap(values.order()), scale, out);
  for (; k < count; ++k) out[count - 1 - k] = static_cast<float>(values[k] * scale);
}

void StoreSamplesReversed(const ScalarArray<uint16_t>& values, float* out,
                          const WireKernels& kernels) {
  const size_t count = values.size();
  size_t k = kernels.samplesReversed(values.data(), count, NeedsSwap(values.order()), out);
  for (; k < count; ++k) out[count - 1 - k] = static_cast<float>(values[k]);
}

void StoreQualitiesReversed(const ScalarArray<uint8_t>& codes, uint8_t* out,
                            const WireKernels& kernels) {
  const size_t count = codes.size();
  size_t k = kernels.qualitiesReversed(codes.data(), count, out);
  for (; k < count; ++k) out[count - 1 - k] = QualityFromCode(codes[k]);
}

void ScaleInPlace(float* values, size_t count, float factor, const WireKernels& kernels) {
  size_t i = kernels.scale(values, count, factor);
  for (; i < count; ++i) values[i] *= factor;
}

}  // namespace elac
