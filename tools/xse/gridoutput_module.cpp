#include <string>

#include "platform/dynamiclibrary.h"
#include "platform/modulepath.h"
#include "tools/xse/gridoutput.h"

namespace xsetool {
namespace {

// The writer, loaded on first use and kept for the rest of the run; null
// with `error` set when it cannot be loaded.
XseWriteGridFunction Writer(std::string& error) {
  static platform::DynamicLibrary library;
  static XseWriteGridFunction write = nullptr;
  static std::string loadError;
  if (write == nullptr && loadError.empty()) {
    const std::string module =
        platform::FindModuleBesideProgram(platform::ModuleFileName("xse_gridwriter"),
                                          XSE_INSTALLED_GRID_MODULE, XSE_BUILT_GRID_MODULE);
    write =
        library.Open(module) ? library.Function<XseWriteGridFunction>(kXseWriteGridName) : nullptr;
    if (write == nullptr) loadError = "cannot load the grid writer: " + library.error();
  }
  error = loadError;
  return write;
}

}  // namespace

std::string GridWriterProblem() {
  std::string error;
  Writer(error);
  return error;
}

std::string WriteGrid(const std::string& path, const soundings::PartialGrid& grid,
                      double cellMetres, soundings::UtmZone zone) {
  std::string error;
  const XseWriteGridFunction write = Writer(error);
  if (write == nullptr) return error;
  char message[512] = {};
  write(path.c_str(), &grid, cellMetres, zone.number, zone.south, message, sizeof message);
  return message;
}

}  // namespace xsetool
