// The 5 x 7 pixel font (with two rows of descenders) of the plots' labels: digits, lower-case
// letters, a few capitals and the punctuation of numbers and units.
#pragma once

#include <cstdint>

namespace xseplot {

struct Glyph {
  uint8_t rows[9];  // top to bottom; bit 4 is the leftmost pixel; rows 7 and 8 hang below the line
};

// The byte that draws a degree sign (DEL, which no label otherwise holds).
inline constexpr char kDegree = '\x7f';

// The glyph of `c`; a blank one for characters the font lacks.
const Glyph& GlyphOf(char c);

}  // namespace xseplot
