#include "tools/xse/gridpreview.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "tools/plot/chart.h"
#include "tools/plot/colormap.h"
#include "tools/plot/pngfile.h"
#include "tools/plot/surveyplots.h"

namespace xsetool {
namespace {

constexpr size_t kMaxSide = 800;

// The mean of the cells' means in each `block` x `block` block of the
// grid's bounds; NaN where a block has none.
std::vector<double> Shrink(const soundings::PartialGrid& grid, const soundings::GridBounds& bounds,
                           size_t block, size_t& columns, size_t& rows) {
  columns = (bounds.columns + block - 1) / block;
  rows = (bounds.rows + block - 1) / block;
  std::vector<double> sum(columns * rows, 0.0), count(columns * rows, 0.0);
  grid.ForEachCell([&](int32_t column, int32_t row, const soundings::GridCell& cell) {
    float layers[soundings::kGridLayers];
    soundings::CellLayers(cell, layers);
    const auto x = static_cast<size_t>(int64_t{column} - bounds.left);
    const auto y = static_cast<size_t>(int64_t{bounds.top} - row);
    const size_t at = (y / block) * columns + x / block;
    sum[at] += layers[soundings::kMeanLayer];
    count[at] += 1;
  });
  for (size_t i = 0; i < sum.size(); ++i) sum[i] = count[i] > 0 ? sum[i] / count[i] : NAN;
  return sum;
}

}  // namespace

bool WriteGridPreview(const std::string& path, const soundings::PartialGrid& grid,
                      double cellMetres, const std::string& title, std::string& error) {
  using namespace xseplot;
  const soundings::GridBounds bounds = soundings::BoundsOf(grid);
  const size_t block =
      std::max<size_t>(1, (std::max(bounds.columns, bounds.rows) + kMaxSide - 1) / kMaxSide);
  size_t columns = 0, rows = 0;
  const std::vector<double> depth = Shrink(grid, bounds, block, columns, rows);
  const int grow = static_cast<int>(std::clamp<size_t>(kMaxSide / std::max(columns, rows), 1, 8));
  double shallow = INFINITY, deep = -INFINITY;
  for (const double value : depth) {
    if (!std::isfinite(value)) continue;
    shallow = std::min(shallow, value);
    deep = std::max(deep, value);
  }
  if (!(deep - shallow >= 1e-3)) {
    shallow = std::isfinite(shallow) ? shallow - 0.5 : 0.0;
    deep = shallow + 1.0;
  }
  const int scale = 2;
  const Area area{16, TopMargin(scale), static_cast<int>(columns) * grow,
                  static_cast<int>(rows) * grow};
  const int right =
      std::max(ColourBarMargin(shallow, deep, scale), 12 + Raster::TextWidth("depth (m)", scale)) +
      8;
  const int bottom = 3 * Raster::TextHeight(scale) + 24;
  Raster picture(std::max({area.x + area.width + right, 480, Raster::TextWidth(title, scale) + 24}),
                 area.y + std::max(area.height, 240) + bottom, kWhite);
  DrawTitle(picture, title, scale);
  for (size_t row = 0; row < rows; ++row) {
    for (size_t column = 0; column < columns; ++column) {
      const double value = depth[row * columns + column];
      const Rgb colour =
          std::isfinite(value) ? DepthColour((value - shallow) / (deep - shallow)) : kNoData;
      picture.FillRect(area.x + static_cast<int>(column) * grow,
                       area.y + static_cast<int>(row) * grow, grow, grow, colour);
    }
  }
  picture.StrokeRect(area.x - 1, area.y - 1, area.width + 2, area.height + 2, kBlack);
  const int barHeight = std::max(area.height, 240) - 2 * Raster::TextHeight(scale) - 60;
  DrawColourBar(picture,
                {area.x + area.width + 12, area.y + Raster::TextHeight(scale) + 8, 16, barHeight},
                shallow, deep, DepthColour, "depth (m)", scale);
  DrawNorthArrow(picture, area.x + area.width + 20,
                 area.y + barHeight + 2 * Raster::TextHeight(scale) + 40, scale);
  const double metresPerPixel = cellMetres * static_cast<double>(block) / grow;
  DrawScaleBar(picture, area.x, area.y + std::max(area.height, 240) + bottom / 2, metresPerPixel,
               std::max(area.width / 2, 2), scale);
  return WritePngFile(path, picture, error);
}

}  // namespace xsetool
