// Which loaded module (the program or a shared library) holds an address:
// how a library finds its own file without being told.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

struct ModuleInfo {
  std::string path;            // full path of the module's file (UTF-8, '/' as separator)
  const void* base = nullptr;  // load address: distinct for every module loaded
};

// The module that holds `address` (take the address of anything defined in
// the module itself), or nothing when no loaded module holds it.
std::optional<ModuleInfo> ModuleContaining(const void* address);

// Full path of the running program's file; empty when it cannot be told.
std::string ExecutablePath();

// The file name the system gives a loadable module called `name`:
// "name.so", or "name.dll" on Windows.
std::string ModuleFileName(std::string_view name);

// Where a module the program loads at run time lies: `fileName` beside the
// program when it is there, else `installed` (relative to the program's
// folder, as an installed tree lays it out; empty for none) when that
// exists, else `built`, the module's place in the build tree.
std::string FindModuleBesideProgram(const std::string& fileName, const std::string& installed,
                                    const std::string& built);

}  // namespace platform
