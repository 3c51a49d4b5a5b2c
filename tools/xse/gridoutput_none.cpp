#include "tools/xse/gridoutput.h"

namespace xsetool {

std::string WriteGrid(const std::string&, const soundings::DenseGrid&, double, soundings::UtmZone) {
  return "this xse was built without GDAL, which writes grids";
}

}  // namespace xsetool
