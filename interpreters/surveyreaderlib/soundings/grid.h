// Depth grids: soundings binned into square cells of a UTM zone.
//
// Cells are aligned to multiples of the cell size in the zone's coordinates,
// so every file bins alike without knowing the others, and a grid holds only
// the cells its soundings touched (memory follows the area, not the number
// of soundings). Depth sums are integers in tenths of a millimetre: merging
// partial grids in any order gives the same cells exactly.
#pragma once

#include <cstdint>
#include <memory>
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

// Cells live in square tiles allocated when first touched, found through
// a small index with the last tile used remembered: beams of a ping fall
// mostly in one tile, so binning a sounding is an array access, and memory
// follows the tiles touched.
class PartialGrid {
 public:
  static constexpr int kTileShift = 6;
  static constexpr int32_t kTileSide = 1 << kTileShift;

  void Add(int32_t column, int32_t row, float depth);
  void AddCell(int32_t column, int32_t row, const GridCell& cell);
  void Merge(const PartialGrid& other);

  // Calls visit(column, row, cell) for every touched cell, tile by tile.
  template <typename Visit>
  void ForEachCell(Visit&& visit) const {
    for (const Tile& tile : tiles_) {
      for (int32_t at = 0; at < kTileSide * kTileSide; ++at) {
        const GridCell& cell = tile.cells[static_cast<size_t>(at)];
        if (cell.count != 0)
          visit(tile.column + (at & (kTileSide - 1)), tile.row + (at >> kTileShift), cell);
      }
    }
  }
  // The cell at a column and row; nullptr when untouched.
  const GridCell* Find(int32_t column, int32_t row) const;

  size_t cellCount() const { return cellCount_; }
  uint64_t soundings() const { return soundings_; }

 private:
  struct Tile {
    int32_t column = 0, row = 0;  // of its first cell
    std::unique_ptr<GridCell[]> cells;
  };
  static uint64_t TileKey(int32_t column, int32_t row) {
    return (uint64_t{static_cast<uint32_t>(row >> kTileShift)} << 32) |
           static_cast<uint32_t>(column >> kTileShift);
  }
  static size_t Offset(int32_t column, int32_t row) {
    return static_cast<size_t>(((row & (kTileSide - 1)) << kTileShift) |
                               (column & (kTileSide - 1)));
  }
  GridCell& CellAt(int32_t column, int32_t row);

  std::vector<Tile> tiles_;
  std::unordered_map<uint64_t, size_t> tileIndex_;
  uint64_t lastKey_ = ~uint64_t{0};
  GridCell* lastTile_ = nullptr;
  size_t cellCount_ = 0;
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
