#include <cmath>
#include <cstdio>

#include "tools/plot/surveyplots.h"

namespace xseplot {

void Span(uint64_t index, uint64_t count, int pixels, int& first, int& end) {
  if (count == 0) count = 1;
  const auto size = static_cast<uint64_t>(pixels);
  first = static_cast<int>(index * size / count);
  end = static_cast<int>((index + 1) * size / count);
  if (end <= first) end = first + 1;
  if (first >= pixels) first = pixels - 1;
  if (end > pixels) end = pixels;
}

double RoundLength(double about) {
  if (!(about > 0) || !std::isfinite(about)) return 1;
  const double power = std::pow(10.0, std::floor(std::log10(about)));
  const double leading = about / power;
  return (leading < 1.5 ? 1 : leading < 3.5 ? 2 : leading < 7.5 ? 5 : 10) * power;
}

std::string FormatNumber(double value, int decimals) {
  char text[64];
  std::snprintf(text, sizeof text, "%.*f", decimals, value);
  return text;
}

}  // namespace xseplot
