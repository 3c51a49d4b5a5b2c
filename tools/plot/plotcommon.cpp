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

void PixelAverages::Resize(const Area& area) {
  width_ = area.width;
  const size_t pixels = static_cast<size_t>(area.width) * static_cast<size_t>(area.height);
  sum_.assign(pixels, 0.0f);
  count_.assign(pixels, 0);
}

void PixelAverages::Add(int firstRow, int endRow, int firstColumn, int endColumn, float value) {
  for (int row = firstRow; row < endRow; ++row) {
    for (int column = firstColumn; column < endColumn; ++column) {
      sum_[At(row, column)] += value;
      count_[At(row, column)]++;
    }
  }
}

std::optional<double> PixelAverages::Mean(int row, int column) const {
  const size_t at = At(row, column);
  if (count_[at] == 0) return std::nullopt;
  return static_cast<double>(sum_[at]) / count_[at];
}

}  // namespace xseplot
