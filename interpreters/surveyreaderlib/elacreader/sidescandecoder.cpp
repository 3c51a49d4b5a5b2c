#include "interpreters/surveyreaderlib/elacreader/sidescandecoder.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "interpreters/surveyreaderlib/elacreader/wireconvert.h"

namespace elac {
namespace {

using quor::SidescanRec;

constexpr uint32_t kComplete =
    SidescanRec::kPingNumber | SidescanRec::kSamples | SidescanRec::kGainsApplied;

constexpr double kMicroseconds = 0.000001;
// Seconds of two-way travel to metres at 1500 m/s.
constexpr float kMetresPerSecondOneWay = 750.0f;

bool DecodePingNumber(ByteCursor& body, SidescanRec& sidescan) {
  uint32_t pingNumber = 0;
  if (!body.Read(pingNumber)) return false;
  sidescan.pingNumber = static_cast<int32_t>(pingNumber);
  sidescan.fieldMask |= SidescanRec::kPingNumber;
  return true;
}

// Grows the array to `count` elements when it is smaller. On a failed
// allocation the record is left without samples.
bool EnsureSamples(SidescanRec& sidescan, uint32_t count) {
  if (sidescan.sampleCapacity >= count) return true;
  sidescan.samples.reset();
  sidescan.sampleCapacity = 0;
  sidescan.sampleCount = 0;
  sidescan.samples.reset(new (std::nothrow) float[count]);
  if (!sidescan.samples) return false;
  sidescan.sampleCapacity = count;
  return true;
}

bool DecodeSamples(ByteCursor& body, SidescanRec& sidescan) {
  uint32_t intervalUs = 0, delayUs = 0, count = 0;
  if (!body.Read(intervalUs) || !body.Read(delayUs) || !body.Read(count)) return false;
  const auto source = body.TakeArray<uint16_t>(count);
  if (!source) return false;
  // Without an interval the delay has no length in samples.
  if (intervalUs == 0) return false;

  const auto interval = static_cast<float>(intervalUs * kMicroseconds);
  // The delay in whole samples, rounded to the nearest. It is bounded before
  // it becomes an integer: a long delay at a short interval is no real ping.
  const double delaySamples = delayUs * kMicroseconds / interval + 0.5;
  if (!(delaySamples < kMaxSidescanSamples)) return false;
  const auto gap = static_cast<uint32_t>(delaySamples);
  const uint64_t total = uint64_t{count} + 2 * uint64_t{gap};
  if (total > kMaxSidescanSamples) return false;
  const auto sampleCount = static_cast<uint32_t>(total);
  if (!EnsureSamples(sidescan, sampleCount)) return false;

  const uint32_t half = count / 2;          // the group's second half, near side first
  const uint32_t firstHalf = count - half;  // one more than `half` when count is odd
  float* out = sidescan.samples.get();
  StoreSamplesReversed(source->Slice(firstHalf, half), out);
  std::fill_n(out + half, 2 * size_t{gap}, 0.0f);
  StoreSamplesReversed(source->Slice(0, firstHalf), out + half + 2 * size_t{gap});

  sidescan.sampleInterval = interval;
  sidescan.sampleCount = sampleCount;
  sidescan.slantRange = interval * static_cast<float>(half + gap);
  if ((sidescan.fieldMask & SidescanRec::kSlantRangeIsTime) == 0)
    sidescan.slantRange *= kMetresPerSecondOneWay;
  sidescan.fieldMask |= SidescanRec::kSamples;
  return true;
}

void ScaleSamples(float* samples, uint32_t from, uint32_t to, int16_t exponent) {
  if (exponent == 0) return;
  // The factor is a power of two, exact in double, then rounded to float.
  const auto factor = static_cast<float>(std::ldexp(1.0, -exponent));
  if (from < to) ScaleInPlace(samples + from, to - from, factor);
}

// Scales the samples present now; in XSE the samples come before the gains.
bool DecodeGains(ByteCursor& body, SidescanRec& sidescan) {
  int16_t firstHalf = 0, secondHalf = 0;
  if (!body.Read(firstHalf) || !body.Skip(4) || !body.Read(secondHalf)) return false;
  sidescan.fieldMask |= SidescanRec::kGainsApplied;
  const uint32_t count = std::min(sidescan.sampleCount, sidescan.sampleCapacity);
  const uint32_t middle = count / 2;
  ScaleSamples(sidescan.samples.get(), 0, middle, firstHalf);
  ScaleSamples(sidescan.samples.get(), middle, count, secondHalf);
  return true;
}

}  // namespace

bool DecodeSidescanGroup(ByteCursor body, SidescanRec& sidescan) {
  if (body.empty()) return false;
  uint32_t type = 0;
  if (!body.Read(type)) return true;  // shorter than a type word: an unknown group
  bool applied = false;
  switch (type) {
    case kSidescanPingGroup:
      applied = DecodePingNumber(body, sidescan);
      break;
    case kSidescanSamplesGroup:
      applied = DecodeSamples(body, sidescan);
      break;
    case kSidescanGainGroup:
      applied = DecodeGains(body, sidescan);
      break;
    default:
      return true;
  }
  if (applied && (sidescan.fieldMask & kComplete) == kComplete) sidescan.valid = 1;
  return true;
}

}  // namespace elac
