// Colour scales of the plots.
#pragma once

#include "tools/plot/raster.h"

namespace xseplot {

// Depth colours from shallow (0: red) through yellow to deep (1: dark
// blue); `t` outside 0..1 takes the nearest end.
Rgb DepthColour(double t);

// Grey from black (0) to white (1), clamped the same way.
Rgb Grey(double t);

}  // namespace xseplot
