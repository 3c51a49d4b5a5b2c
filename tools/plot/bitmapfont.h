// The 5 x 7 pixel font of the plots' labels: digits, lower-case letters,
// a few capitals and the punctuation of numbers and units.
#pragma once

#include <cstdint>

namespace xseplot {

struct Glyph {
  uint8_t rows[7];  // top to bottom; bit 4 is the leftmost pixel
};

// The glyph of `c`; a blank one for characters the font lacks.
const Glyph& GlyphOf(char c);

}  // namespace xseplot
