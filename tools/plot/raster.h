// An RGB picture in memory, with the few drawing operations the survey
// plots need. Drawing outside the picture is clipped, never an error.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace xseplot {

struct Rgb {
  uint8_t r = 0, g = 0, b = 0;
  friend bool operator==(const Rgb&, const Rgb&) = default;
};

// A rectangle of pixels: its top-left corner and size.
struct Area {
  int x = 0, y = 0, width = 0, height = 0;
};

class Raster {
 public:
  // A picture of `width` x `height` pixels (each at least 1) filled with
  // `background`.
  Raster(int width, int height, Rgb background);

  int width() const { return width_; }
  int height() const { return height_; }
  // Rows top to bottom, three bytes per pixel.
  const std::vector<uint8_t>& pixels() const { return pixels_; }

  bool Contains(int x, int y) const { return x >= 0 && y >= 0 && x < width_ && y < height_; }
  // The colour at (x, y); black outside the picture.
  Rgb At(int x, int y) const;
  void Set(int x, int y, Rgb colour);
  // The rectangle [x, x + w) x [y, y + h).
  void FillRect(int x, int y, int w, int h, Rgb colour);
  // Outline of the same rectangle, one pixel wide.
  void StrokeRect(int x, int y, int w, int h, Rgb colour);
  void Line(int x0, int y0, int x1, int y1, Rgb colour);
  // A filled disc of `radius` pixels around (x, y).
  void Disc(int x, int y, int radius, Rgb colour);
  // Text in the built-in 5 x 7 font, each font pixel `scale` pixels square,
  // with its top-left corner at (x, y). Characters the font lacks are blank.
  void Text(int x, int y, std::string_view text, Rgb colour, int scale = 1);
  // Width in pixels that Text gives `text`.
  static int TextWidth(std::string_view text, int scale = 1);
  static int TextHeight(int scale = 1) { return 7 * scale; }

 private:
  int width_;
  int height_;
  std::vector<uint8_t> pixels_;
};

}  // namespace xseplot
