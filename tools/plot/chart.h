// The furniture around a plot's data area: title, axes with ticks and
// numbers, colour bar, key, scale bar and north arrow. Each piece draws
// into a Raster at a place the caller chose; the Margins say how much room
// the axes need, so a plot can lay itself out before drawing.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tools/plot/raster.h"

namespace xseplot {

// Round values (1, 2 or 5 times a power of ten apart) inside [lo, hi],
// about `count` of them; lo and hi may come in either order.
std::vector<double> Ticks(double lo, double hi, int count);
// Digits after the point that tell apart ticks `step` apart.
int TickDecimals(double step);

// Where [lo, hi] puts `value` along `pixels` pixels (0 for lo, pixels - 1
// for hi), not clamped.
double ToPixels(double value, double lo, double hi, int pixels);

// The title, centred over the whole picture's width at the top.
void DrawTitle(Raster& picture, std::string_view title, int scale);
// Room to leave above a data area for the title and the vertical axis's
// name, and below it for the horizontal axis's numbers and name.
int TopMargin(int scale);
int BottomMargin(int scale);
// Room to the left of a data area for the numbers of an axis over [lo, hi].
int LeftMargin(double lo, double hi, int scale);

// The horizontal axis under `area`: lo at the left edge, hi at the right,
// ticks with their numbers, and `name` centred beneath.
void DrawXAxis(Raster& picture, const Area& area, double lo, double hi, std::string_view name,
               int scale);
// The vertical axis left of `area`: lo at the top edge, hi at the bottom,
// and `name` above the numbers.
void DrawYAxis(Raster& picture, const Area& area, double lo, double hi, std::string_view name,
               int scale);

// A vertical colour bar in `bar`: lo at the top coloured colour(0), hi at
// the bottom colour(1), numbers to its right and `name` above it.
using ColourScale = Rgb (*)(double);
void DrawColourBar(Raster& picture, const Area& bar, double lo, double hi, ColourScale colour,
                   std::string_view name, int scale);
// Width a colour bar with its numbers takes right of a data area.
int ColourBarMargin(double lo, double hi, int scale);

struct KeyEntry {
  enum class Mark { kDisc, kLine, kDot };
  Mark mark;
  Rgb colour;
  std::string text;
};
// A boxed key with its top-left corner at (x, y), one entry a line.
void DrawKey(Raster& picture, int x, int y, std::span<const KeyEntry> entries, int scale);
// The width and height DrawKey takes.
int KeyWidth(std::span<const KeyEntry> entries, int scale);
int KeyHeight(std::span<const KeyEntry> entries, int scale);

// A scale bar of a round length no longer than `maxPixels`, its left end at
// (x, y) (the bar's middle line), labelled in m or km.
void DrawScaleBar(Raster& picture, int x, int y, double metresPerPixel, int maxPixels, int scale);
// A north arrow, its tip at (x, y), with an N above it.
void DrawNorthArrow(Raster& picture, int x, int y, int scale);

}  // namespace xseplot
