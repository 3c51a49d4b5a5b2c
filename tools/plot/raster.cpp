#include "tools/plot/raster.h"

#include <algorithm>
#include <cstdlib>

#include "tools/plot/bitmapfont.h"

namespace xseplot {

Raster::Raster(int width, int height, Rgb background)
    : width_(std::max(width, 1)), height_(std::max(height, 1)) {
  pixels_.resize(static_cast<size_t>(width_) * static_cast<size_t>(height_) * 3);
  FillRect(0, 0, width_, height_, background);
}

Rgb Raster::At(int x, int y) const {
  if (!Contains(x, y)) return {};
  const size_t at =
      (static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)) * 3;
  return {pixels_[at], pixels_[at + 1], pixels_[at + 2]};
}

void Raster::Set(int x, int y, Rgb colour) {
  if (!Contains(x, y)) return;
  const size_t at =
      (static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)) * 3;
  pixels_[at] = colour.r;
  pixels_[at + 1] = colour.g;
  pixels_[at + 2] = colour.b;
}

void Raster::FillRect(int x, int y, int w, int h, Rgb colour) {
  const int left = std::max(x, 0), right = std::min(x + w, width_);
  const int top = std::max(y, 0), bottom = std::min(y + h, height_);
  for (int row = top; row < bottom; ++row)
    for (int column = left; column < right; ++column) Set(column, row, colour);
}

void Raster::StrokeRect(int x, int y, int w, int h, Rgb colour) {
  FillRect(x, y, w, 1, colour);
  FillRect(x, y + h - 1, w, 1, colour);
  FillRect(x, y, 1, h, colour);
  FillRect(x + w - 1, y, 1, h, colour);
}

void Raster::Line(int x0, int y0, int x1, int y1, Rgb colour) {
  // Bresenham; both ends drawn.
  const int dx = std::abs(x1 - x0), sx = x0 < x1 ? 1 : -1;
  const int dy = -std::abs(y1 - y0), sy = y0 < y1 ? 1 : -1;
  int error = dx + dy;
  for (;;) {
    Set(x0, y0, colour);
    if (x0 == x1 && y0 == y1) break;
    const int twice = 2 * error;
    if (twice >= dy) {
      error += dy;
      x0 += sx;
    }
    if (twice <= dx) {
      error += dx;
      y0 += sy;
    }
  }
}

void Raster::Disc(int x, int y, int radius, Rgb colour) {
  for (int dy = -radius; dy <= radius; ++dy)
    for (int dx = -radius; dx <= radius; ++dx)
      if (dx * dx + dy * dy <= radius * radius + radius) Set(x + dx, y + dy, colour);
}

void Raster::Text(int x, int y, std::string_view text, Rgb colour, int scale) {
  for (const char c : text) {
    const Glyph& glyph = GlyphOf(c);
    for (int row = 0; row < 9; ++row)
      for (int column = 0; column < 5; ++column)
        if ((glyph.rows[row] >> (4 - column)) & 1)
          FillRect(x + column * scale, y + row * scale, scale, scale, colour);
    x += 6 * scale;
  }
}

int Raster::TextWidth(std::string_view text, int scale) {
  return text.empty() ? 0 : (static_cast<int>(text.size()) * 6 - 1) * scale;
}

}  // namespace xseplot
