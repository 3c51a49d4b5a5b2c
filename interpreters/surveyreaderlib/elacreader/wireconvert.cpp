#include "interpreters/surveyreaderlib/elacreader/wireconvert.h"

#include <bit>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace elac {
namespace {

bool NeedsSwap(bool bigEndian) { return bigEndian != (std::endian::native == std::endian::big); }

#if defined(__SSE2__)
// SSE2 has no byte shuffle: bytes are swapped within 16-bit words by
// shifts, then the words of each 64-bit lane are reversed.
__m128i SwapBytes16(__m128i v) { return _mm_or_si128(_mm_slli_epi16(v, 8), _mm_srli_epi16(v, 8)); }

__m128i SwapBytes64(__m128i v) {
  v = SwapBytes16(v);
  v = _mm_shufflelo_epi16(v, _MM_SHUFFLE(0, 1, 2, 3));
  return _mm_shufflehi_epi16(v, _MM_SHUFFLE(0, 1, 2, 3));
}

__m128 Reverse(__m128 v) { return _mm_shuffle_ps(v, v, _MM_SHUFFLE(0, 1, 2, 3)); }

__m128i ReverseBytes(__m128i v) {
  v = SwapBytes64(v);
  return _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2));
}

// Converts values 0 to k - 1 for the largest k that is a multiple of 4 and
// returns k; the caller converts the rest.
template <bool kSwap>
size_t DoublesReversedBlocks(const uint8_t* in, size_t count, double scale, float* out) {
  const __m128d factor = _mm_set1_pd(scale);
  size_t k = 0;
  for (; k + 4 <= count; k += 4) {
    __m128i first = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 8 * k));
    __m128i second = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 8 * k + 16));
    if constexpr (kSwap) {
      first = SwapBytes64(first);
      second = SwapBytes64(second);
    }
    const __m128 low = _mm_cvtpd_ps(_mm_mul_pd(_mm_castsi128_pd(first), factor));
    const __m128 high = _mm_cvtpd_ps(_mm_mul_pd(_mm_castsi128_pd(second), factor));
    _mm_storeu_ps(out + count - 4 - k, Reverse(_mm_movelh_ps(low, high)));
  }
  return k;
}

// As above for multiples of 8 samples.
template <bool kSwap>
size_t SamplesReversedBlocks(const uint8_t* in, size_t count, float* out) {
  const __m128i zero = _mm_setzero_si128();
  size_t k = 0;
  for (; k + 8 <= count; k += 8) {
    __m128i samples = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 2 * k));
    if constexpr (kSwap) samples = SwapBytes16(samples);
    const __m128 low = _mm_cvtepi32_ps(_mm_unpacklo_epi16(samples, zero));
    const __m128 high = _mm_cvtepi32_ps(_mm_unpackhi_epi16(samples, zero));
    _mm_storeu_ps(out + count - 4 - k, Reverse(low));
    _mm_storeu_ps(out + count - 8 - k, Reverse(high));
  }
  return k;
}

// As above for multiples of 16 codes.
size_t QualitiesReversedBlocks(const uint8_t* in, size_t count, uint8_t* out) {
  const __m128i one = _mm_set1_epi8(1);
  const __m128i highestBelow = _mm_set1_epi8(14);  // code 15, less one
  const __m128i sixteen = _mm_set1_epi8(16);
  size_t k = 0;
  for (; k + 16 <= count; k += 16) {
    const __m128i codes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(in + k));
    // code - 1 wraps 0 round to 255, so one unsigned test covers 1 to 15.
    const __m128i lowered = _mm_sub_epi8(codes, one);
    const __m128i known = _mm_cmpeq_epi8(_mm_min_epu8(lowered, highestBelow), lowered);
    const __m128i qualities = _mm_and_si128(known, _mm_sub_epi8(sixteen, codes));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out + count - 16 - k), ReverseBytes(qualities));
  }
  return k;
}
#endif

uint8_t QualityFromCode(uint8_t code) {
  return code >= 1 && code <= 15 ? static_cast<uint8_t>(16 - code) : uint8_t{0};
}

}  // namespace

void StoreDoublesReversed(const ScalarArray<double>& values, double scale, float* out) {
  const size_t count = values.size();
  size_t k = 0;
#if defined(__SSE2__)
  k = NeedsSwap(values.bigEndian())
          ? DoublesReversedBlocks<true>(values.data(), count, scale, out)
          : DoublesReversedBlocks<false>(values.data(), count, scale, out);
#endif
  for (; k < count; ++k) out[count - 1 - k] = static_cast<float>(values[k] * scale);
}

void StoreSamplesReversed(const ScalarArray<uint16_t>& values, float* out) {
  const size_t count = values.size();
  size_t k = 0;
#if defined(__SSE2__)
  k = NeedsSwap(values.bigEndian()) ? SamplesReversedBlocks<true>(values.data(), count, out)
                                    : SamplesReversedBlocks<false>(values.data(), count, out);
#endif
  for (; k < count; ++k) out[count - 1 - k] = static_cast<float>(values[k]);
}

void StoreQualitiesReversed(const ScalarArray<uint8_t>& codes, uint8_t* out) {
  const size_t count = codes.size();
  size_t k = 0;
#if defined(__SSE2__)
  k = QualitiesReversedBlocks(codes.data(), count, out);
#endif
  for (; k < count; ++k) out[count - 1 - k] = QualityFromCode(codes[k]);
}

void ScaleInPlace(float* values, size_t count, float factor) {
  size_t i = 0;
#if defined(__SSE2__)
  const __m128 scale = _mm_set1_ps(factor);
  for (; i + 4 <= count; i += 4)
    _mm_storeu_ps(values + i, _mm_mul_ps(_mm_loadu_ps(values + i), scale));
#endif
  for (; i < count; ++i) values[i] *= factor;
}

}  // namespace elac
