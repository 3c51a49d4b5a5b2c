#include "tools/plot/chart.h"

#include <algorithm>
#include <cmath>

#include "tools/plot/surveyplots.h"

namespace xseplot {
namespace {

constexpr int kTick = 4;  // pixels a tick mark sticks out
constexpr int kGap = 4;   // pixels between a tick and its number

std::string TickText(double value, int decimals) {
  // No "-0" from a tick that rounding put just below zero.
  if (std::fabs(value) < std::pow(10.0, -decimals) / 2) value = 0;
  return FormatNumber(value, decimals);
}

double TickStep(const std::vector<double>& ticks) {
  return ticks.size() > 1 ? ticks[1] - ticks[0] : 1;
}

}  // namespace

std::vector<double> Ticks(double lo, double hi, int count) {
  if (lo > hi) std::swap(lo, hi);
  std::vector<double> ticks;
  if (!std::isfinite(lo) || !std::isfinite(hi)) return ticks;
  if (hi - lo < 1e-9) return {lo};
  const double step = RoundLength((hi - lo) / std::max(count, 1));
  // Integer steps from a multiple of step, so the numbers print exactly.
  const auto first = static_cast<long long>(std::ceil(lo / step - 1e-9));
  const auto last = static_cast<long long>(std::floor(hi / step + 1e-9));
  for (long long i = first; i <= last; ++i) ticks.push_back(static_cast<double>(i) * step);
  return ticks;
}

int TickDecimals(double step) {
  if (!(step > 0) || step >= 1) return 0;
  return std::min(9, static_cast<int>(std::ceil(-std::log10(step) - 1e-9)));
}

double ToPixels(double value, double lo, double hi, int pixels) {
  if (hi == lo) return (pixels - 1) / 2.0;
  return (value - lo) / (hi - lo) * (pixels - 1);
}

void DrawTitle(Raster& picture, std::string_view title, int scale) {
  picture.Text((picture.width() - Raster::TextWidth(title, scale)) / 2, 6, title, kBlack, scale);
}

int TopMargin(int scale) { return 6 + 2 * (Raster::TextHeight(scale) + 8); }

int BottomMargin(int scale) { return kTick + kGap + 2 * (Raster::TextHeight(scale) + 6); }

int LeftMargin(double lo, double hi, int scale) {
  const std::vector<double> ticks = Ticks(lo, hi, 5);
  const int decimals = TickDecimals(TickStep(ticks));
  int widest = 0;
  for (const double tick : ticks)
    widest = std::max(widest, Raster::TextWidth(TickText(tick, decimals), scale));
  return 8 + widest + kGap + kTick;
}

void DrawXAxis(Raster& picture, const Area& area, double lo, double hi, std::string_view name,
               int scale) {
  const int below = area.y + area.height;
  const std::vector<double> ticks = Ticks(lo, hi, std::max(2, area.width / (60 * scale)));
  const int decimals = TickDecimals(TickStep(ticks));
  for (const double tick : ticks) {
    const int x = area.x + static_cast<int>(std::lround(ToPixels(tick, lo, hi, area.width)));
    picture.FillRect(x, below, 1, kTick, kBlack);
    const std::string text = TickText(tick, decimals);
    picture.Text(x - Raster::TextWidth(text, scale) / 2, below + kTick + kGap, text, kBlack, scale);
  }
  const int nameY = below + kTick + kGap + Raster::TextHeight(scale) + 6;
  picture.Text(area.x + (area.width - Raster::TextWidth(name, scale)) / 2, nameY, name, kBlack,
               scale);
}

void DrawYAxis(Raster& picture, const Area& area, double lo, double hi, std::string_view name,
               int scale) {
  const int text = Raster::TextHeight(scale);
  const std::vector<double> ticks = Ticks(lo, hi, std::max(2, area.height / (40 * scale)));
  const int decimals = TickDecimals(TickStep(ticks));
  for (const double tick : ticks) {
    const int y = area.y + static_cast<int>(std::lround(ToPixels(tick, lo, hi, area.height)));
    picture.FillRect(area.x - kTick - 1, y, kTick, 1, kBlack);
    const std::string label = TickText(tick, decimals);
    picture.Text(area.x - kTick - kGap - 1 - Raster::TextWidth(label, scale), y - text / 2, label,
                 kBlack, scale);
  }
  const int nameX = std::max(2, area.x - LeftMargin(lo, hi, scale) + 8);
  picture.Text(nameX, area.y - text - 8, name, kBlack, scale);
}

void DrawColourBar(Raster& picture, const Area& bar, double lo, double hi, ColourScale colour,
                   std::string_view name, int scale) {
  for (int row = 0; row < bar.height; ++row)
    picture.FillRect(bar.x, bar.y + row, bar.width, 1,
                     colour(static_cast<double>(row) / std::max(bar.height - 1, 1)));
  picture.StrokeRect(bar.x - 1, bar.y - 1, bar.width + 2, bar.height + 2, kBlack);
  const int text = Raster::TextHeight(scale);
  const std::vector<double> ticks = Ticks(lo, hi, std::max(2, bar.height / (40 * scale)));
  const int decimals = TickDecimals(TickStep(ticks));
  for (const double tick : ticks) {
    const int y = bar.y + static_cast<int>(std::lround(ToPixels(tick, lo, hi, bar.height)));
    picture.FillRect(bar.x + bar.width + 1, y, kTick, 1, kBlack);
    // Twice the usual gap, so the tick does not read as a minus sign.
    picture.Text(bar.x + bar.width + 1 + kTick + 2 * kGap, y - text / 2, TickText(tick, decimals),
                 kBlack, scale);
  }
  // The name ends at the picture's edge when it is wider than the margin.
  const int nameX = std::min(bar.x, picture.width() - Raster::TextWidth(name, scale) - 2);
  picture.Text(nameX, bar.y - text - 8, name, kBlack, scale);
}

int ColourBarMargin(double lo, double hi, int scale) {
  // The numbers' width is the same sum as to the left of an axis.
  return 12 + 16 + kGap + LeftMargin(lo, hi, scale);
}

void DrawKey(Raster& picture, int x, int y, std::span<const KeyEntry> entries, int scale) {
  const int line = Raster::TextHeight(scale) + 6;
  picture.FillRect(x, y, KeyWidth(entries, scale), KeyHeight(entries, scale), kWhite);
  picture.StrokeRect(x, y, KeyWidth(entries, scale), KeyHeight(entries, scale), kBlack);
  for (size_t i = 0; i < entries.size(); ++i) {
    const KeyEntry& entry = entries[i];
    const int top = y + 6 + static_cast<int>(i) * line;
    const int middleY = top + Raster::TextHeight(scale) / 2, middleX = x + 6 + 8;
    switch (entry.mark) {
      case KeyEntry::Mark::kDisc:
        picture.Disc(middleX, middleY, 4, entry.colour);
        break;
      case KeyEntry::Mark::kDot:
        picture.Disc(middleX, middleY, 1, entry.colour);
        break;
      case KeyEntry::Mark::kLine:
        picture.FillRect(middleX - 8, middleY, 17, 2, entry.colour);
        break;
    }
    picture.Text(x + 6 + 16 + 8, top, entry.text, kBlack, scale);
  }
}

int KeyWidth(std::span<const KeyEntry> entries, int scale) {
  int widest = 0;
  for (const KeyEntry& entry : entries)
    widest = std::max(widest, Raster::TextWidth(entry.text, scale));
  return 6 + 16 + 8 + widest + 6;
}

int KeyHeight(std::span<const KeyEntry> entries, int scale) {
  return 6 + static_cast<int>(entries.size()) * (Raster::TextHeight(scale) + 6);
}

void DrawScaleBar(Raster& picture, int x, int y, double metresPerPixel, int maxPixels, int scale) {
  if (!(metresPerPixel > 0) || maxPixels < 2) return;
  double length = RoundLength(maxPixels * metresPerPixel * 0.75);
  if (length / metresPerPixel > maxPixels) length = RoundLength(length / 2.5);
  const int pixels = std::max(1, static_cast<int>(std::lround(length / metresPerPixel)));
  picture.FillRect(x, y - 2, pixels, 4, kBlack);
  picture.FillRect(x, y - 6, 1, 12, kBlack);
  picture.FillRect(x + pixels - 1, y - 6, 1, 12, kBlack);
  const int decimals = length >= 1 ? 0 : TickDecimals(length);
  const std::string label = length >= 1000 ? FormatNumber(length / 1000, 0) + " km"
                                           : FormatNumber(length, decimals) + " m";
  picture.Text(x + pixels + 8, y - Raster::TextHeight(scale) / 2, label, kBlack, scale);
}

void DrawNorthArrow(Raster& picture, int x, int y, int scale) {
  const int length = 12 * scale + 8;
  for (int dx = -1; dx <= 0; ++dx) picture.Line(x + dx, y, x + dx, y + length, kBlack);
  for (int row = 0; row < 4 * scale + 4; ++row) {
    const int half = row / 2;
    picture.FillRect(x - half, y + row, 2 * half + 1, 1, kBlack);
  }
  picture.Text(x - Raster::TextWidth("N", scale) / 2, y - Raster::TextHeight(scale) - 4, "N",
               kBlack, scale);
}

}  // namespace xseplot
