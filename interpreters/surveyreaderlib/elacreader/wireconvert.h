// Bulk conversions from the arrays of a group into the arrays of a record.
// Records hold a group's last value first, so the conversions store in
// reverse. The byte order is settled once per array and, where the processor
// allows, several values go at a time; every result is exactly what
// converting the values one by one gives (same rounding, same NaNs). The
// vector loops are the widest set the processor runs; tests pass each set.
#pragma once

#include <cstddef>
#include <cstdint>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/wirekernels.h"

namespace elac {

// out[n - 1 - k] = float(values[k] * scale) for the n values.
void StoreDoublesReversed(const ScalarArray<double>& values, double scale, float* out,
                          const WireKernels& kernels = BestWireKernels());

// out[n - 1 - k] = float(values[k]) for the n values.
void StoreSamplesReversed(const ScalarArray<uint16_t>& values, float* out,
                          const WireKernels& kernels = BestWireKernels());

// out[n - 1 - k] = 16 - codes[k] for quality codes 1 to 15; 0 for code 0
// (no quality) and for codes above 15.
void StoreQualitiesReversed(const ScalarArray<uint8_t>& codes, uint8_t* out,
                            const WireKernels& kernels = BestWireKernels());

// values[i] *= factor for i below count.
void ScaleInPlace(float* values, size_t count, float factor,
                  const WireKernels& kernels = BestWireKernels());

}  // namespace elac
