// AVX2, for processors that have it: twice the values per instruction of
// SSE2 and a real byte shuffle for the byte order. The functions carry the
// target attribute instead of the whole build taking -mavx2, so the module
// still loads on processors without it.
#include "interpreters/surveyreaderlib/elacreader/wirekernels.h"

#if defined(__x86_64__) && (defined(__GNUC__) || defined(__clang__))
#include <immintrin.h>

#define XSE_AVX2 __attribute__((target("avx2")))

namespace elac {
namespace {

// Lane indices that put eight floats in the opposite order.
XSE_AVX2 __m256i ReversedLanes() { return _mm256_setr_epi32(7, 6, 5, 4, 3, 2, 1, 0); }

template <bool kSwap>
XSE_AVX2 size_t DoublesBlocks(const uint8_t* in, size_t count, double scale, float* out) {
  const __m256i swap64 = _mm256_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8,  //
                                          7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8);
  const __m256d factor = _mm256_set1_pd(scale);
  const __m256i reversed = ReversedLanes();
  size_t k = 0;
  for (; k + 8 <= count; k += 8) {
    __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 8 * k));
    __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 8 * k + 32));
    if constexpr (kSwap) {
      first = _mm256_shuffle_epi8(first, swap64);
      second = _mm256_shuffle_epi8(second, swap64);
    }
    const __m128 low = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_castsi256_pd(first), factor));
    const __m128 high = _mm256_cvtpd_ps(_mm256_mul_pd(_mm256_castsi256_pd(second), factor));
    const __m256 inOrder = _mm256_insertf128_ps(_mm256_castps128_ps256(low), high, 1);
    _mm256_storeu_ps(out + count - 8 - k, _mm256_permutevar8x32_ps(inOrder, reversed));
  }
  return k;
}

XSE_AVX2 size_t DoublesReversed(const uint8_t* in, size_t count, bool swap, double scale,
                                float* out) {
  return swap ? DoublesBlocks<true>(in, count, scale, out)
              : DoublesBlocks<false>(in, count, scale, out);
}

template <bool kSwap>
XSE_AVX2 size_t SamplesBlocks(const uint8_t* in, size_t count, float* out) {
  const __m256i swap16 = _mm256_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14,  //
                                          1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
  const __m256i reversed = ReversedLanes();
  size_t k = 0;
  for (; k + 16 <= count; k += 16) {
    __m256i samples = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + 2 * k));
    if constexpr (kSwap) samples = _mm256_shuffle_epi8(samples, swap16);
    const __m256 low = _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(_mm256_castsi256_si128(samples)));
    const __m256 high =
        _mm256_cvtepi32_ps(_mm256_cvtepu16_epi32(_mm256_extracti128_si256(samples, 1)));
    _mm256_storeu_ps(out + count - 8 - k, _mm256_permutevar8x32_ps(low, reversed));
    _mm256_storeu_ps(out + count - 16 - k, _mm256_permutevar8x32_ps(high, reversed));
  }
  return k;
}

XSE_AVX2 size_t SamplesReversed(const uint8_t* in, size_t count, bool swap, float* out) {
  return swap ? SamplesBlocks<true>(in, count, out) : SamplesBlocks<false>(in, count, out);
}

XSE_AVX2 size_t QualitiesReversed(const uint8_t* in, size_t count, uint8_t* out) {
  const __m256i one = _mm256_set1_epi8(1);
  const __m256i highestBelow = _mm256_set1_epi8(14);  // code 15, less one
  const __m256i sixteen = _mm256_set1_epi8(16);
  // Bytes reversed within each 128-bit half; the halves are swapped after.
  const __m256i reverseHalves =
      _mm256_setr_epi8(15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0,  //
                       15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 0);
  size_t k = 0;
  for (; k + 32 <= count; k += 32) {
    const __m256i codes = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in + k));
    // code - 1 wraps 0 round to 255, so one unsigned test covers 1 to 15.
    const __m256i lowered = _mm256_sub_epi8(codes, one);
    const __m256i known = _mm256_cmpeq_epi8(_mm256_min_epu8(lowered, highestBelow), lowered);
    const __m256i qualities = _mm256_and_si256(known, _mm256_sub_epi8(sixteen, codes));
    const __m256i reversed = _mm256_permute4x64_epi64(_mm256_shuffle_epi8(qualities, reverseHalves),
                                                      _MM_SHUFFLE(1, 0, 3, 2));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + count - 32 - k), reversed);
  }
  return k;
}

XSE_AVX2 size_t Scale(float* values, size_t count, float factor) {
  const __m256 scale = _mm256_set1_ps(factor);
  size_t i = 0;
  for (; i + 8 <= count; i += 8)
    _mm256_storeu_ps(values + i, _mm256_mul_ps(_mm256_loadu_ps(values + i), scale));
  return i;
}

constexpr WireKernels kAvx2 = {"avx2", DoublesReversed, SamplesReversed, QualitiesReversed, Scale};

}  // namespace

const WireKernels* Avx2WireKernels() {
  static const bool usable = __builtin_cpu_supports("avx2");
  return usable ? &kAvx2 : nullptr;
}

}  // namespace elac

#else

namespace elac {
const WireKernels* Avx2WireKernels() { return nullptr; }
}  // namespace elac

#endif
