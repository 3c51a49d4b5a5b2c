#include "interpreters/surveyreaderlib/soundings/grid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace soundings {

GridCell& PartialGrid::CellAt(int32_t column, int32_t row) {
  const uint64_t key = TileKey(column, row);
  if (key != lastKey_) {
    const auto entry = tileIndex_.find(key);
    if (entry == tileIndex_.end()) return NewTile(column, row);
    lastKey_ = key;
    lastTile_ = tiles_[entry->second].cells.get();
  }
  return lastTile_[Offset(column, row)];
}

GridCell& PartialGrid::NewTile(int32_t column, int32_t row) {
  // Over 64 MiB of tiles less than a quarter full: smaller tiles.
  const size_t tileCells = size_t{1} << (2 * shift_);
  constexpr size_t kMuchMemory = (size_t{64} << 20) / sizeof(GridCell);
  if (shift_ > 0 && tiles_.size() * tileCells > kMuchMemory &&
      cellCount_ * 4 < tiles_.size() * tileCells) {
    ShrinkTiles();
    return CellAt(column, row);
  }
  const int32_t mask = (int32_t{1} << shift_) - 1;
  tileIndex_.emplace(TileKey(column, row), tiles_.size());
  tiles_.push_back(Tile{column & ~mask, row & ~mask, std::make_unique<GridCell[]>(tileCells)});
  lastKey_ = TileKey(column, row);
  lastTile_ = tiles_.back().cells.get();
  return lastTile_[Offset(column, row)];
}

void PartialGrid::ShrinkTiles() {
  PartialGrid smaller;
  smaller.shift_ = std::max(0, shift_ - 2);
  ForEachCell([&smaller](int32_t column, int32_t row, const GridCell& cell) {
    smaller.AddCell(column, row, cell);
  });
  *this = std::move(smaller);
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

void GridBinner::Bin(double easting, double northing, float depth) {
  const double column = std::floor(easting * inverseCell_);
  const double row = std::floor(northing * inverseCell_);
  // A zone far from the data projects it beyond any cell index: left out.
  constexpr double kLimit = 2e9;
  if (!(std::fabs(column) < kLimit && std::fabs(row) < kLimit)) {
    ++outside_;
    return;
  }
  grid_.Add(static_cast<int32_t>(column), static_cast<int32_t>(row), depth);
}

void GridBinner::HandleSounding(const Sounding& sounding) {
  double easting = 0, northing = 0;
  if (sounding.pingNumber != pingNumber_ || !local_.Covers(sounding.latitude, sounding.longitude)) {
    pingNumber_ = sounding.pingNumber;
    local_.Anchor(projection_, sounding.latitude, sounding.longitude);
  }
  local_.Forward(sounding.latitude, sounding.longitude, easting, northing);
  Bin(easting, northing, sounding.depth);
}

void GridBinner::Project(const LocalFrame& frame, double north, double east, double& easting,
                         double& northing) const {
  constexpr double kDegrees = 57.29577951308232;
  const GeoPoint point = frame.Offset(north, east);
  projection_.Forward(point.latitude * kDegrees, point.longitude * kDegrees, easting, northing);
}

void GridBinner::HandlePing(const PingOffsets& ping) {
  if (ping.count == 0) return;
  // Central differences over a step of 1 km (x east, y north).
  constexpr double kStep = 1000.0, kReach = 2000.0;
  double e[3][3], n[3][3];  // [east step + 1][north step + 1]
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j)
      Project(*ping.frame, (j - 1) * kStep, (i - 1) * kStep, e[i][j], n[i][j]);
  }
  const auto fit = [](const double f[3][3]) {
    Quadratic q;
    q.c = f[1][1];
    q.x = (f[2][1] - f[0][1]) / (2 * kStep);
    q.y = (f[1][2] - f[1][0]) / (2 * kStep);
    q.xx = (f[2][1] - 2 * f[1][1] + f[0][1]) / (kStep * kStep);
    q.yy = (f[1][2] - 2 * f[1][1] + f[1][0]) / (kStep * kStep);
    q.xy = (f[2][2] - f[2][0] - f[0][2] + f[0][0]) / (4 * kStep * kStep);
    return q;
  };
  const Quadratic east = fit(e), north = fit(n);
  for (size_t i = 0; i < ping.count; ++i) {
    const double x = ping.east[i], y = ping.north[i];
    double easting = 0, northing = 0;
    if (std::fabs(x) < kReach && std::fabs(y) < kReach) {
      easting = east.At(x, y);
      northing = north.At(x, y);
    } else {
      Project(*ping.frame, y, x, easting, northing);
    }
    Bin(easting, northing, ping.depth[i]);
  }
}

GridBounds BoundsOf(const PartialGrid& grid) {
  GridBounds bounds;
  if (grid.cellCount() == 0) return bounds;
  int32_t left = INT32_MAX, right = INT32_MIN, bottom = INT32_MAX, top = INT32_MIN;
  grid.ForEachCell([&](int32_t column, int32_t row, const GridCell&) {
    left = std::min(left, column);
    right = std::max(right, column);
    bottom = std::min(bottom, row);
    top = std::max(top, row);
  });
  bounds.left = left;
  bounds.top = top;
  bounds.columns = static_cast<size_t>(int64_t{right} - left + 1);
  bounds.rows = static_cast<size_t>(int64_t{top} - bottom + 1);
  return bounds;
}

void CellLayers(const GridCell& cell, float (&layers)[kGridLayers]) {
  const double count = static_cast<double>(cell.count);
  const double mean = static_cast<double>(cell.depthSum) / count / kDepthUnitsPerMetre;
  layers[kMeanLayer] = static_cast<float>(mean);
  layers[kCountLayer] = static_cast<float>(count);
  layers[kDeviationLayer] =
      static_cast<float>(std::sqrt(std::max(0.0, cell.squareSum / count - mean * mean)));
  layers[kMinimumLayer] = cell.minimum;
  layers[kMaximumLayer] = cell.maximum;
}

}  // namespace soundings
