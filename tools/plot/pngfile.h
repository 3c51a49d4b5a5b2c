// Writes a Raster as an 8-bit PNG (deflated with zlib): RGB, or grey when no pixel
// has colour.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/plot/raster.h"

namespace xseplot {

// The PNG bytes of `raster`. Empty, with `error` set, when it cannot be compressed.
std::vector<uint8_t> EncodePng(const Raster& raster, std::string& error);

// Writes `raster` to `path`. False, with `error` saying why, when it cannot
// be encoded or the file cannot be written; a file left half-written is
// removed.
bool WritePngFile(const std::string& path, const Raster& raster, std::string& error);

}  // namespace xseplot
