// The reader plug-in loaded and a reader object made by it, as the host
// does before a run. Declare the module before the reader, so the reader is
// destroyed first.
#pragma once

#include <cstdio>
#include <memory>

#include "interpreters/xsereader/host/xsereadermodule.h"

namespace xsetool {

using PluginReader = std::unique_ptr<CReader, decltype(XseReaderEntryPoints::destroyReader)>;

// Loads the plug-in into `module` and makes a reader with it; null, with
// "WHO: REASON" on stderr, when either step fails.
inline PluginReader LoadPluginReader(XseReaderModule& module, const char* who) {
  if (!module.Load(XseReaderModule::DefaultPath())) {
    std::fprintf(stderr, "%s: cannot load the reader plug-in: %s\n", who, module.error().c_str());
    return {nullptr, nullptr};
  }
  PluginReader reader(module.entry().createReader(0), module.entry().destroyReader);
  if (reader == nullptr) std::fprintf(stderr, "%s: the reader plug-in did not start\n", who);
  return reader;
}

}  // namespace xsetool
