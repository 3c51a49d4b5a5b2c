// Writing a depth grid: a GeoTIFF (one named band per layer) or a BAG
// (elevation and uncertainty), chosen by the output's extension. GDAL and
// the hundred libraries it loads live in a module of their own, loaded only
// by xse grid, so the tool's other commands start as fast as before. Builds
// without GDAL have a writer that says so.
#pragma once

#include <string>

#include "interpreters/surveyreaderlib/soundings/grid.h"
#include "interpreters/surveyreaderlib/soundings/utm.h"

namespace xsetool {

// Why grids cannot be written here (no GDAL, or its module not found);
// empty when they can. Asked before the files are read.
std::string GridWriterProblem();

// Writes `grid` of `cellMetres` cells in `zone` to `path`. Empty on
// success, otherwise why not, in words.
std::string WriteGrid(const std::string& path, const soundings::PartialGrid& grid,
                      double cellMetres, soundings::UtmZone zone);

}  // namespace xsetool

// The grid-writing module's one entry point: WriteGrid's arguments, the
// message copied into `error` (empty on success).
using XseWriteGridFunction = void (*)(const char* path, const soundings::PartialGrid* grid,
                                      double cellMetres, int zoneNumber, bool south, char* error,
                                      size_t errorSize);
inline constexpr const char* kXseWriteGridName = "XseWriteGrid";
