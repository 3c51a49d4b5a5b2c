// A PNG picture of a depth grid, north up: mean depth in the depth colour
// scale, with title, colour bar in metres, scale bar and north arrow.
#pragma once

#include <string>

#include "interpreters/surveyreaderlib/soundings/grid.h"

namespace xsetool {

// Writes the preview of `grid` (cells of `cellMetres`) to `path`. Grids
// wider or taller than the picture have their cells averaged in blocks;
// small ones are drawn with each cell several pixels square. False, with
// `error` set, when the file cannot be written.
bool WriteGridPreview(const std::string& path, const soundings::PartialGrid& grid,
                      double cellMetres, const std::string& title, std::string& error);

}  // namespace xsetool
