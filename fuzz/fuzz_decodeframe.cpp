// Arbitrary bytes as one frame in memory, at every head selection.
#include <cstddef>
#include <cstdint>
#include <span>

#include "fuzz/checkingtarget.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static xsefuzz::CheckingTarget target;
  // One reader across inputs, as in a run: records and arrays carry over.
  static ElacReader reader(&target, 0);
  const std::span<const uint8_t> bytes(data, size);
  reader.SetMode(size > 0 ? data[size - 1] % 3 : 0);
  (void)reader.DecodeFrameBytes(bytes);
  return 0;
}
