#include "tools/plot/colormap.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace xseplot {
namespace {

// Viridis, run from its light end (shallow) to its dark end (deep): its
// lightness rises evenly, so equal depth steps look equal, it survives grey
// print and the common colour blindnesses.
constexpr std::array<Rgb, 9> kDepthStops = {{
    {253, 231, 37},
    {110, 206, 88},
    {53, 183, 121},
    {31, 158, 137},
    {38, 130, 142},
    {49, 104, 142},
    {62, 73, 137},
    {72, 40, 120},
    {68, 1, 84},
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
