#include <cpl_conv.h>
#include <gdal_priv.h>
#include <ogr_spatialref.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "tools/xse/gridoutput.h"

namespace xsetool {
namespace {

struct Closer {
  void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using Dataset = std::unique_ptr<GDALDataset, Closer>;

bool EndsWith(std::string_view text, std::string_view end) {
  if (text.size() < end.size()) return false;
  std::string tail(text.substr(text.size() - end.size()));
  for (char& c : tail) c = static_cast<char>(c | 0x20);
  return tail == end;
}

std::string LastError(std::string_view fallback) {
  const char* message = CPLGetLastErrorMsg();
  return message != nullptr && *message != '\0' ? std::string(message) : std::string(fallback);
}

bool Georeference(GDALDataset& dataset, const soundings::GridBounds& grid, double cell,
                  soundings::UtmZone zone) {
  // Top-left corner of the top-left cell; north up.
  double transform[6] = {grid.left * cell, cell, 0.0, (grid.top + 1.0) * cell, 0.0, -cell};
  OGRSpatialReference crs;
  crs.importFromEPSG(soundings::EpsgCode(zone));
  return dataset.SetGeoTransform(transform) == CE_None && dataset.SetSpatialRef(&crs) == CE_None;
}

// The touched cells grouped by the square block of the file they fall in
// (key: block row and column), each with its place in the block.
constexpr int kBlock = 256;
using Blocks = std::unordered_map<uint64_t, std::vector<std::pair<uint32_t, soundings::GridCell>>>;

Blocks GroupByBlock(const soundings::PartialGrid& grid, const soundings::GridBounds& bounds) {
  Blocks blocks;
  grid.ForEachCell([&](int32_t column, int32_t row, const soundings::GridCell& cell) {
    const auto x = static_cast<uint32_t>(int64_t{column} - bounds.left);
    const auto y = static_cast<uint32_t>(int64_t{bounds.top} - row);
    const uint64_t key = (uint64_t{y / kBlock} << 32) | (x / kBlock);
    blocks[key].emplace_back((y % kBlock) * kBlock + x % kBlock, cell);
  });
  return blocks;
}

// What the bands of a file hold: how many, the value of a cell without
// soundings, and the values of a cell with some.
struct BandLayout {
  int bands;
  float empty;
  void (*values)(const soundings::GridCell& cell, float (&out)[soundings::kGridLayers]);
};

// One block of every band.
bool WriteBlock(GDALDataset& dataset, const BandLayout& layout, const soundings::GridBounds& bounds,
                uint64_t key, const std::vector<std::pair<uint32_t, soundings::GridCell>>& cells,
                std::vector<float>& buffer) {
  constexpr size_t kArea = size_t{kBlock} * kBlock;
  const auto bands = static_cast<size_t>(layout.bands);
  buffer.assign(kArea * bands, layout.empty);
  for (const auto& [at, cell] : cells) {
    float values[soundings::kGridLayers];
    layout.values(cell, values);
    for (size_t band = 0; band < bands; ++band) buffer[band * kArea + at] = values[band];
  }
  const int x = static_cast<int>(key & 0xffffffffu) * kBlock,
            y = static_cast<int>(key >> 32) * kBlock;
  const int width = std::min(kBlock, static_cast<int>(bounds.columns) - x);
  const int height = std::min(kBlock, static_cast<int>(bounds.rows) - y);
  for (int band = 0; band < layout.bands; ++band) {
    float* values = buffer.data() + static_cast<size_t>(band) * kArea;
    if (dataset.GetRasterBand(band + 1)->RasterIO(GF_Write, x, y, width, height, values, width,
                                                  height, GDT_Float32, 0,
                                                  kBlock * sizeof(float)) != CE_None)
      return false;
  }
  return true;
}

// Only the blocks with cells: memory and file follow the area the soundings
// cover, not their bounding box; the blocks never written read as `empty`.
bool WriteBlocks(GDALDataset& dataset, const BandLayout& layout, const soundings::PartialGrid& grid,
                 const soundings::GridBounds& bounds) {
  std::vector<float> buffer;
  for (const auto& [key, cells] : GroupByBlock(grid, bounds)) {
    if (!WriteBlock(dataset, layout, bounds, key, cells, buffer)) return false;
  }
  return true;
}

std::string Finish(Dataset dataset, bool ok) {
  dataset->FlushCache();
  if (!ok) return LastError("writing failed");
  dataset.reset();
  return CPLGetLastErrorType() >= CE_Failure ? LastError("writing failed") : std::string();
}

// Tiled in 256 x 256 blocks; a GeoTIFF has one nodata value for all bands:
// NaN, in every band of a cell without soundings.
std::string WriteGeoTiff(const std::string& path, const soundings::PartialGrid& grid, double cell,
                         soundings::UtmZone zone) {
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
  if (driver == nullptr) return "GDAL has no GeoTIFF driver";
  // Compression is most of the time of a large grid: the fastest level, on
  // every core.
  char* options[] = {const_cast<char*>("COMPRESS=DEFLATE"),
                     const_cast<char*>("ZLEVEL=1"),
                     const_cast<char*>("NUM_THREADS=ALL_CPUS"),
                     const_cast<char*>("TILED=YES"),
                     const_cast<char*>("BLOCKXSIZE=256"),
                     const_cast<char*>("BLOCKYSIZE=256"),
                     const_cast<char*>("SPARSE_OK=TRUE"),
                     const_cast<char*>("BIGTIFF=IF_SAFER"),
                     nullptr};
  const soundings::GridBounds bounds = soundings::BoundsOf(grid);
  Dataset dataset(driver->Create(path.c_str(), static_cast<int>(bounds.columns),
                                 static_cast<int>(bounds.rows), soundings::kGridLayers, GDT_Float32,
                                 options));
  if (!dataset) return LastError("cannot create the file");
  bool ok = Georeference(*dataset, bounds, cell, zone);
  const char* names[] = {"mean depth (m)", "soundings", "depth std-dev (m)", "minimum depth (m)",
                         "maximum depth (m)"};
  for (int layer = 0; layer < soundings::kGridLayers && ok; ++layer) {
    GDALRasterBand* band = dataset->GetRasterBand(layer + 1);
    band->SetDescription(names[layer]);
    ok = band->SetNoDataValue(static_cast<double>(std::numeric_limits<float>::quiet_NaN())) ==
         CE_None;
  }
  constexpr BandLayout kLayers{soundings::kGridLayers, std::numeric_limits<float>::quiet_NaN(),
                               soundings::CellLayers};
  ok = ok && WriteBlocks(*dataset, kLayers, grid, bounds);
  return Finish(std::move(dataset), ok);
}

// Elevation is up, depth down; the uncertainty is the cell's spread. Written
// in chunks as the GeoTIFF is, so the cells without soundings are never
// held: they read as the format's nodata value.
std::string WriteBag(const std::string& path, const soundings::PartialGrid& grid, double cell,
                     soundings::UtmZone zone) {
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("BAG");
  if (driver == nullptr) return "GDAL has no BAG driver";
  char* options[] = {const_cast<char*>("BLOCK_SIZE=256"), nullptr};
  const soundings::GridBounds bounds = soundings::BoundsOf(grid);
  Dataset dataset(driver->Create(path.c_str(), static_cast<int>(bounds.columns),
                                 static_cast<int>(bounds.rows), 2, GDT_Float32, options));
  if (!dataset) return LastError("cannot create the file");
  constexpr float kBagNoData = 1000000.0f;
  bool ok = Georeference(*dataset, bounds, cell, zone);
  for (int band = 1; band <= 2 && ok; ++band)
    ok = dataset->GetRasterBand(band)->SetNoDataValue(kBagNoData) == CE_None;
  constexpr BandLayout kLayers{
      2, kBagNoData, [](const soundings::GridCell& touched, float(&out)[soundings::kGridLayers]) {
        soundings::CellLayers(touched, out);
        out[0] = -out[0];  // mean depth
        out[1] = out[2];   // std-dev
      }};
  ok = ok && WriteBlocks(*dataset, kLayers, grid, bounds);
  return Finish(std::move(dataset), ok);
}

std::string WriteWithGdal(const std::string& path, const soundings::PartialGrid& grid,
                          double cellMetres, soundings::UtmZone zone) {
  GDALAllRegister();
  // The grid is in memory already; GDAL's block cache (5 % of the memory
  // by default) would hold a second copy of it on its way to the file.
  GDALSetCacheMax64(int64_t{64} << 20);
  CPLErrorReset();
  CPLPushErrorHandler(CPLQuietErrorHandler);
  const std::string error = EndsWith(path, ".bag") ? WriteBag(path, grid, cellMetres, zone)
                                                   : WriteGeoTiff(path, grid, cellMetres, zone);
  CPLPopErrorHandler();
  return error;
}

}  // namespace
}  // namespace xsetool

extern "C" __attribute__((visibility("default"))) void XseWriteGrid(
    const char* path, const soundings::PartialGrid* grid, double cellMetres, int zoneNumber,
    bool south, char* error, size_t errorSize) {
  const std::string message =
      xsetool::WriteWithGdal(path, *grid, cellMetres, soundings::UtmZone{zoneNumber, south});
  std::snprintf(error, errorSize, "%s", message.c_str());
}
