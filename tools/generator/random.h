// A small, fast, seedable random source whose sequence is fixed by this code
// alone (the standard distributions differ between libraries). The survey a
// seed makes is the same on every run of one system; across systems it is
// not, since each C library rounds sin, cos and exp in its own way.
#pragma once

#include <cstdint>

namespace xsetool {

class Random {
 public:
  explicit Random(uint64_t seed) : state_(seed) {}

  // splitmix64: every seed, 0 included, gives a well-mixed sequence.
  uint64_t Next() {
    uint64_t z = (state_ += 0x9E3779B97F4A7C15ull);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ull;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBull;
    return z ^ (z >> 31);
  }
  // Uniform in [0, 1).
  double Uniform() { return static_cast<double>(Next() >> 11) * 0x1.0p-53; }
  double Uniform(double low, double high) { return low + (high - low) * Uniform(); }
  // Roughly normal with mean 0 and deviation 1 (sum of four uniforms): cheap,
  // bounded, and close enough for measurement noise.
  double Normal() {
    return (Uniform() + Uniform() + Uniform() + Uniform() - 2.0) * 1.7320508075688772;
  }
  // A new source whose sequence does not overlap this one's in practice.
  Random Fork() { return Random(Next()); }

 private:
  uint64_t state_;
};

}  // namespace xsetool
