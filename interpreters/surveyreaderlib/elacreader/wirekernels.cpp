#include "interpreters/surveyreaderlib/elacreader/wirekernels.h"

#include <array>

namespace elac {
namespace {

size_t NoDoubles(const uint8_t*, size_t, bool, double, float*) { return 0; }
size_t NoSamples(const uint8_t*, size_t, bool, float*) { return 0; }
size_t NoQualities(const uint8_t*, size_t, uint8_t*) { return 0; }
size_t NoScale(float*, size_t, float) { return 0; }

constexpr WireKernels kOneByOne = {"one-by-one", NoDoubles, NoSamples, NoQualities, NoScale};

struct KernelTable {
  std::array<const WireKernels*, 3> sets{};
  size_t count = 0;
};

KernelTable FindUsable() {
  KernelTable table;
  for (const WireKernels* set : {&kOneByOne, Sse2WireKernels(), Avx2WireKernels()}) {
    if (set != nullptr) table.sets[table.count++] = set;
  }
  return table;
}

const KernelTable& Usable() {
  static const KernelTable table = FindUsable();
  return table;
}

}  // namespace

WireKernelList UsableWireKernels() { return {Usable().sets.data(), Usable().count}; }

const WireKernels& BestWireKernels() {
  static const WireKernels& best = *Usable().sets[Usable().count - 1];
  return best;
}

}  // namespace elac
