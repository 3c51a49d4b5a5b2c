#include <string>

#include "platform/dynamiclibrary.h"
#include "platform/modulepath.h"
#include "tools/xse/gridoutput.h"

namespace xsetool {

std::string WriteGrid(const std::string& path, const soundings::DenseGrid& grid, double cellMetres,
                      soundings::UtmZone zone) {
  const std::string module = platform::FindModuleBesideProgram(
      platform::ModuleFileName("xse_gridwriter"), XSE_INSTALLED_GRID_MODULE, XSE_BUILT_GRID_MODULE);
  platform::DynamicLibrary library;
  const auto write =
      library.Open(module) ? library.Function<XseWriteGridFunction>(kXseWriteGridName) : nullptr;
  if (write == nullptr) return "cannot load the grid writer: " + library.error();
  char error[512] = {};
  write(path.c_str(), &grid, cellMetres, zone.number, zone.south, error, sizeof error);
  return error;
}

}  // namespace xsetool
