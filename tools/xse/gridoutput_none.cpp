#include "tools/xse/gridoutput.h"

namespace xsetool {

std::string GridWriterProblem() { return "this xse was built without GDAL, which writes grids"; }

std::string WriteGrid(const std::string&, const soundings::PartialGrid&, double,
                      soundings::UtmZone) {
  return GridWriterProblem();
}

}  // namespace xsetool
