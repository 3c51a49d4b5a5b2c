// Depth grids: soundings binned into square cells of a UTM zone.
//
// Cells are aligned to multiples of the cell size in the zone's coordinates,
// so every file bins alike without knowing the others, and a grid holds only
// the cells its soundings touched (memory follows the area, not the number
// of soundings). Depth sums are integers in tenths of a millimetre: merging
// partial grids in any order gives the same cells exactly.
#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "interpreters/surveyreaderlib/soundings/utm.h"
#include "xsereader/soundings.h"

namespace soundings {

constexpr double kDepthUnitsPerMetre = 10000.0;

struct GridCell {
  int64_t depthSum = 0;  // tenths of a millimetre
  int64_t count = 0;
  double squareSum = 0;  // square metres, for the spread
  float minimum = 0, maximum = 0;
};

class PartialGrid {
 public:
  static uint64_t Key(int32_t column, int32_t row) {
    return (uint64_t{static_cast<uint32_t>(row)} << 32) | static_cast<uint32_t>(column);
  }
  static int32_t ColumnOf(uint64_t key) { return static_cast<int32_t>(key & 0xffffffffu); }
  static int32_t RowOf(uint64_t key) { return static_cast<int32_t>(key >> 32); }

  void Add(int32_t column, int32_t row, float depth);
  void AddCell(uint64_t key, const GridCell& cell);
  void Merge(const PartialGrid& other);

  const std::unordered_map<uint64_t, GridCell>& cells() const { return cells_; }
  uint64_t soundings() const { return soundings_; }

 private:
  std::unordered_map<uint64_t, GridCell> cells_;
  uint64_t soundings_ = 0;
};

// A sink that bins every sounding it is given into a partial grid.
class GridBinner final : public ISoundingSink {
 public:
  GridBinner(double cellMetres, UtmZone zone, PartialGrid& grid)
      : inverseCell_(1.0 / cellMetres), projection_(zone), grid_(grid) {}

  void HandleSounding(const Sounding& sounding) override;
  // Soundings whose cell index the zone puts out of range.
  uint64_t outside() const { return outside_; }

 private:
  double inverseCell_;
  UtmProjection projection_;
  LocalUtm local_;  // around the ping's first sounding
  int32_t pingNumber_ = 0;
  uint64_t outside_ = 0;
  PartialGrid& grid_;
};

// A grid as north-up rasters of its bounding cells, row 0 the northernmost;
// empty cells are NaN in every layer but the count.
struct DenseGrid {
  int32_t left = 0, top = 0;  // column and row of the top-left cell
  size_t columns = 0, rows = 0;
  std::vector<float> mean, count, deviation, minimum, maximum;
};

DenseGrid Densify(const PartialGrid& grid);

}  // namespace soundings
