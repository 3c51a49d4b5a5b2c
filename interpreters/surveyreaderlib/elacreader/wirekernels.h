// The vector loops behind the bulk conversions of wireconvert.h, one set per
// instruction set. Each converts the longest prefix it can do in whole
// blocks, stores it exactly where the one-by-one conversion would (reversed),
// and returns how many values it converted; the caller converts the rest.
// Kept apart from the dispatch so that tests can check every set this
// processor runs, not only the one the dispatch picks.
#pragma once

#include <cstddef>
#include <cstdint>

namespace elac {

struct WireKernels {
  const char* name;
  // out[count - 1 - k] = float(value k * scale); `swap` reverses each
  // value's 8 bytes first.
  size_t (*doublesReversed)(const uint8_t* in, size_t count, bool swap, double scale, float* out);
  // out[count - 1 - k] = float(sample k); `swap` reverses each sample's 2 bytes.
  size_t (*samplesReversed)(const uint8_t* in, size_t count, bool swap, float* out);
  // out[count - 1 - k] = 16 - code k for codes 1 to 15, else 0.
  size_t (*qualitiesReversed)(const uint8_t* in, size_t count, uint8_t* out);
  // values[i] *= factor.
  size_t (*scale)(float* values, size_t count, float factor);
};

// Every set this build has and this processor runs, widest last; the first
// converts nothing, so the callers' one-by-one loops do all the work.
struct WireKernelList {
  const WireKernels* const* sets;
  size_t count;
};
WireKernelList UsableWireKernels();

// The widest usable set, chosen once.
const WireKernels& BestWireKernels();

// The sets themselves; nullptr where the build targets another processor.
const WireKernels* Sse2WireKernels();
const WireKernels* Avx2WireKernels();

}  // namespace elac
