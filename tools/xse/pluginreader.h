// The reader plug-in loaded and a reader object made by it, as the host
// does before a run. Declare the module before the reader, so the reader is
// destroyed first.
#pragma once

#include <cstdio>
#include <memory>

#include "interpreters/xsereader/host/xsereadermodule.h"

namespace xsetool {

using PluginReader = std::unique_ptr<CReader, decltype(XseReaderEntryPoints::destroyReader)>;

// Loads the plug-in into `module`; false, with "xse: cannot load the reader
// plug-in: REASON" on stderr, when it does not load.
inline bool LoadPluginModule(XseReaderModule& module) {
  if (module.Load(XseReaderModule::DefaultPath())) return true;
  std::fprintf(stderr, "xse: cannot load the reader plug-in: %s\n", module.error().c_str());
  return false;
}

// Loads the plug-in into `module` and makes a reader with it; null, with the
// reason on stderr, when either step fails.
inline PluginReader LoadPluginReader(XseReaderModule& module) {
  if (!LoadPluginModule(module)) return {nullptr, nullptr};
  PluginReader reader(module.entry().createReader(0), module.entry().destroyReader);
  if (reader == nullptr) std::fprintf(stderr, "xse: the reader plug-in did not start\n");
  return reader;
}

}  // namespace xsetool
