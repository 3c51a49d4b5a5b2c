// Colour scales of the plots.
#pragma once

#include "tools/plot/raster.h"

namespace xseplot {

// The one depth colour scale of every picture: shallow (0) light yellow
// through green and blue to deep (1) dark violet; `t` outside 0..1 takes
// the nearest end.
Rgb DepthColour(double t);

// Grey from black (0) to white (1), clamped the same way.
Rgb Grey(double t);

}  // namespace xseplot
