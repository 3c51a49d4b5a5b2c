// Dialog units to pixels, as the window framework lays out its templates:
// a horizontal unit is a quarter of the font's average character width, a
// vertical unit an eighth of its character height.
#pragma once

#include <QFont>
#include <QRect>
#include <QString>
#include <string_view>

namespace platform::qt {

struct DialogBaseUnits {
  int x = 0;  // average character width, pixels
  int y = 0;  // character height, pixels
};

// The font a template names, at its point size. Fonts the system lacks are
// substituted: "MS Sans Serif" becomes "DejaVu Sans" (any sans-serif when
// that is missing too).
QFont DialogFont(std::string_view family, int pointSize);

// Base units of `font`: the width of the 52 letters A-Z a-z halved and
// rounded as the framework does, and the line height.
DialogBaseUnits BaseUnitsOf(const QFont& font);

// `units` scaled by `base` / `per`, rounded to the nearest pixel.
int DialogToPixels(int units, int base, int per);

// A template rectangle in pixels.
QRect DialogRectToPixels(int x, int y, int width, int height, DialogBaseUnits base);

}  // namespace platform::qt
