#include "tools/plot/colormap.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace xseplot {
namespace {

// A diverging red-yellow-blue scale: shallow water warm, deep water cold,
// the middle light, so neighbouring depths stay apart in print and on screen.
constexpr std::array<Rgb, 7> kDepthStops = {{
    {165, 0, 38},
    {244, 109, 67},
    {254, 224, 144},
    {224, 243, 248},
    {116, 173, 209},
    {69, 117, 180},
    {49, 54, 149},
}};

uint8_t Mix(uint8_t a, uint8_t b, double f) {
  return static_cast<uint8_t>(std::lround(a + (b - a) * f));
}

}  // namespace

Rgb DepthColour(double t) {
  if (!(t > 0)) t = 0;  // NaN too
  t = std::min(t, 1.0);
  const double at = t * static_cast<double>(kDepthStops.size() - 1);
  const size_t below = std::min(static_cast<size_t>(at), kDepthStops.size() - 2);
  const double f = at - static_cast<double>(below);
  const Rgb a = kDepthStops[below], b = kDepthStops[below + 1];
  return {Mix(a.r, b.r, f), Mix(a.g, b.g, f), Mix(a.b, b.b, f)};
}

Rgb Grey(double t) {
  if (!(t > 0)) t = 0;
  const auto level = static_cast<uint8_t>(std::lround(std::min(t, 1.0) * 255));
  return {level, level, level};
}

}  // namespace xseplot
