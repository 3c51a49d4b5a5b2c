#include "interpreters/surveyreaderlib/soundings/grid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace soundings {

GridCell& PartialGrid::CellAt(int32_t column, int32_t row) {
  const uint64_t key = TileKey(column, row);
  if (key != lastKey_) {
    const auto [entry, added] = tileIndex_.try_emplace(key, tiles_.size());
    if (added) {
      tiles_.push_back(Tile{column & ~(kTileSide - 1), row & ~(kTileSide - 1),
                            std::make_unique<GridCell[]>(size_t{kTileSide} * kTileSide)});
    }
    lastKey_ = key;
    lastTile_ = tiles_[entry->second].cells.get();
  }
  return lastTile_[Offset(column, row)];
}

const GridCell* PartialGrid::Find(int32_t column, int32_t row) const {
  const auto entry = tileIndex_.find(TileKey(column, row));
  if (entry == tileIndex_.end()) return nullptr;
  const GridCell& cell = tiles_[entry->second].cells[Offset(column, row)];
  return cell.count != 0 ? &cell : nullptr;
}

void PartialGrid::Add(int32_t column, int32_t row, float depth) {
  GridCell& cell = CellAt(column, row);
  if (cell.count == 0) {
    cell.minimum = cell.maximum = depth;
    ++cellCount_;
  }
  cell.depthSum += std::llrint(static_cast<double>(depth) * kDepthUnitsPerMetre);
  cell.squareSum += static_cast<double>(depth) * depth;
  cell.minimum = std::min(cell.minimum, depth);
  cell.maximum = std::max(cell.maximum, depth);
  ++cell.count;
  ++soundings_;
}

void PartialGrid::AddCell(int32_t column, int32_t row, const GridCell& add) {
  if (add.count == 0) return;
  GridCell& cell = CellAt(column, row);
  if (cell.count == 0) {
    cell = add;
    ++cellCount_;
  } else {
    cell.depthSum += add.depthSum;
    cell.count += add.count;
    cell.squareSum += add.squareSum;
    cell.minimum = std::min(cell.minimum, add.minimum);
    cell.maximum = std::max(cell.maximum, add.maximum);
  }
  soundings_ += static_cast<uint64_t>(add.count);
}

void PartialGrid::Merge(const PartialGrid& other) {
  other.ForEachCell(
      [this](int32_t column, int32_t row, const GridCell& cell) { AddCell(column, row, cell); });
}

void GridBinner::HandleSounding(const Sounding& sounding) {
  double easting = 0, northing = 0;
  if (sounding.pingNumber != pingNumber_ || !local_.Covers(sounding.latitude, sounding.longitude)) {
    pingNumber_ = sounding.pingNumber;
    local_.Anchor(projection_, sounding.latitude, sounding.longitude);
  }
  local_.Forward(sounding.latitude, sounding.longitude, easting, northing);
  const double column = std::floor(easting * inverseCell_);
  const double row = std::floor(northing * inverseCell_);
  // A zone far from the data projects it beyond any cell index: left out.
  constexpr double kLimit = 2e9;
  if (!(std::fabs(column) < kLimit && std::fabs(row) < kLimit)) {
    ++outside_;
    return;
  }
  grid_.Add(static_cast<int32_t>(column), static_cast<int32_t>(row), sounding.depth);
}

DenseGrid Densify(const PartialGrid& grid) {
  DenseGrid dense;
  if (grid.cellCount() == 0) return dense;
  int32_t left = INT32_MAX, right = INT32_MIN, bottom = INT32_MAX, top = INT32_MIN;
  grid.ForEachCell([&](int32_t column, int32_t row, const GridCell&) {
    left = std::min(left, column);
    right = std::max(right, column);
    bottom = std::min(bottom, row);
    top = std::max(top, row);
  });
  dense.left = left;
  dense.top = top;
  dense.columns = static_cast<size_t>(int64_t{right} - left + 1);
  dense.rows = static_cast<size_t>(int64_t{top} - bottom + 1);
  const size_t size = dense.columns * dense.rows;
  constexpr float kEmpty = std::numeric_limits<float>::quiet_NaN();
  for (auto* layer : {&dense.mean, &dense.deviation, &dense.minimum, &dense.maximum})
    layer->assign(size, kEmpty);
  dense.count.assign(size, 0.0f);
  grid.ForEachCell([&](int32_t column, int32_t row, const GridCell& cell) {
    const size_t at = static_cast<size_t>(int64_t{top} - row) * dense.columns +
                      static_cast<size_t>(int64_t{column} - left);
    const double count = static_cast<double>(cell.count);
    const double mean = static_cast<double>(cell.depthSum) / count / kDepthUnitsPerMetre;
    dense.mean[at] = static_cast<float>(mean);
    dense.count[at] = static_cast<float>(count);
    dense.deviation[at] =
        static_cast<float>(std::sqrt(std::max(0.0, cell.squareSum / count - mean * mean)));
    dense.minimum[at] = cell.minimum;
    dense.maximum[at] = cell.maximum;
  });
  return dense;
}

}  // namespace soundings
