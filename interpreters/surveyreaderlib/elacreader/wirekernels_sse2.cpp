// SSE2, which every x86-64 processor has.
#include "interpreters/surveyreaderlib/elacreader/wirekernels.h"

#if defined(__SSE2__)
#include <emmintrin.h>

namespace elac {
namespace {

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

template <bool kSwap>
size_t DoublesBlocks(const uint8_t* in, size_t count, double scale, float* out) {
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

size_t DoublesReversed(const uint8_t* in, size_t count, bool swap, double scale, float* out) {
  return swap ? DoublesBlocks<true>(in, count, scale, out)
              : DoublesBlocks<false>(in, count, scale, out);
}

template <bool kSwap>
size_t SamplesBlocks(const uint8_t* in, size_t count, float* out) {
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

size_t SamplesReversed(const uint8_t* in, size_t count, bool swap, float* out) {
  return swap ? SamplesBlocks<true>(in, count, out) : SamplesBlocks<false>(in, count, out);
}

size_t QualitiesReversed(const uint8_t* in, size_t count, uint8_t* out) {
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

size_t Scale(float* values, size_t count, float factor) {
  const __m128 scale = _mm_set1_ps(factor);
  size_t i = 0;
  for (; i + 4 <= count; i += 4)
    _mm_storeu_ps(values + i, _mm_mul_ps(_mm_loadu_ps(values + i), scale));
  return i;
}

constexpr WireKernels kSse2 = {"sse2", DoublesReversed, SamplesReversed, QualitiesReversed, Scale};

}  // namespace

const WireKernels* Sse2WireKernels() { return &kSse2; }

}  // namespace elac

#else

namespace elac {
const WireKernels* Sse2WireKernels() { return nullptr; }
}  // namespace elac

#endif
