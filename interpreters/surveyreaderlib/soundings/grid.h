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
// follows the tiles touched. Tiles start 64 cells wide; when they hold
// many megabytes but few cells (cells much finer than the soundings'
// spacing) the grid moves to tiles a quarter the area, down to one cell.
class PartialGrid {
 public:
  static constexpr int kLargestTileShift = 6;

  void Add(int32_t column, int32_t row, float depth);
  void AddCell(int32_t column, int32_t row, const GridCell& cell);
  void Merge(const PartialGrid& other);

  // Calls visit(column, row, cell) for every touched cell, tile by tile.
  template <typename Visit>
  void ForEachCell(Visit&& visit) const {
    const int32_t side = int32_t{1} << shift_;
    for (const Tile& tile : tiles_) {
      for (int32_t at = 0; at < side * side; ++at) {
        const GridCell& cell = tile.cells[static_cast<size_t>(at)];
        if (cell.count != 0)
          visit(tile.column + (at & (side - 1)), tile.row + (at >> shift_), cell);
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
  uint64_t TileKey(int32_t column, int32_t row) const {
    return (uint64_t{static_cast<uint32_t>(row >> shift_)} << 32) |
           static_cast<uint32_t>(column >> shift_);
  }
  size_t Offset(int32_t column, int32_t row) const {
    const int32_t mask = (int32_t{1} << shift_) - 1;
    return static_cast<size_t>(((row & mask) << shift_) | (column & mask));
  }
  GridCell& CellAt(int32_t column, int32_t row);
  GridCell& NewTile(int32_t column, int32_t row);
  void ShrinkTiles();

  int shift_ = kLargestTileShift;
  std::vector<Tile> tiles_;
  std::unordered_map<uint64_t, size_t> tileIndex_;
  uint64_t lastKey_ = ~uint64_t{0};
  GridCell* lastTile_ = nullptr;
  size_t cellCount_ = 0;
  uint64_t soundings_ = 0;
};

// A sink that bins every sounding it is given into a partial grid. Whole
// pings go from their offsets to the zone through a quadratic fitted per
// ping (within a tenth of a millimetre over its reach of 2 km each way;
// beams beyond are projected exactly), with no latitude or longitude.
class GridBinner final : public ISoundingSink {
 public:
  GridBinner(double cellMetres, UtmZone zone, PartialGrid& grid)
      : inverseCell_(1.0 / cellMetres), projection_(zone), grid_(grid) {}

  void HandleSounding(const Sounding& sounding) override;
  bool TakesPings() const override { return wholePings_; }
  void HandlePing(const PingOffsets& ping) override;
  // Soundings whose cell index the zone puts out of range.
  uint64_t outside() const { return outside_; }
  // Soundings one by one only (to compare the two ways).
  void TakeSoundingsOnly() { wholePings_ = false; }

 private:
  struct Quadratic {
    double c = 0, x = 0, y = 0, xx = 0, xy = 0, yy = 0;
    double At(double dx, double dy) const {
      return c + dx * (x + 0.5 * xx * dx + xy * dy) + dy * (y + 0.5 * yy * dy);
    }
  };
  void Bin(double easting, double northing, float depth);
  void Project(const LocalFrame& frame, double north, double east, double& easting,
               double& northing) const;

  bool wholePings_ = true;
  double inverseCell_;
  UtmProjection projection_;
  LocalUtm local_;  // around the ping's first sounding
  int32_t pingNumber_ = 0;
  uint64_t outside_ = 0;
  PartialGrid& grid_;
};

// The cells a grid's touched cells span, north up: the top-left cell's
// column and row (the northernmost row), and the size.
struct GridBounds {
  int32_t left = 0, top = 0;
  size_t columns = 0, rows = 0;
};
GridBounds BoundsOf(const PartialGrid& grid);

// A cell's layers: mean depth, count, standard deviation, minimum, maximum.
enum GridLayer { kMeanLayer, kCountLayer, kDeviationLayer, kMinimumLayer, kMaximumLayer };
constexpr int kGridLayers = 5;
void CellLayers(const GridCell& cell, float (&layers)[kGridLayers]);

}  // namespace soundings
