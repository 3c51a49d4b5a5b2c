#include "platform/modulepath.h"

#include <dlfcn.h>
#include <limits.h>
#include <link.h>
#include <unistd.h>

#include "platform/paths.h"

namespace platform {

std::optional<ModuleInfo> ModuleContaining(const void* address) {
  Dl_info info{};
  link_map* map = nullptr;
  if (address == nullptr ||
      ::dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0 ||
      map == nullptr) {
    return std::nullopt;
  }
  ModuleInfo module;
  module.base = info.dli_fbase;
  // The program itself has no name in the loader's list; a library has the
  // name it was loaded under, which may be relative to the folder current
  // at that time.
  if (map->l_name == nullptr || map->l_name[0] == '\0') {
    module.path = ExecutablePath();
  } else if (map->l_name[0] == '/') {
    module.path = map->l_name;
  } else {
    module.path = AbsolutePath(map->l_name);
  }
  return module;
}

std::string ExecutablePath() {
  char buffer[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  if (length <= 0) return {};
  return std::string(buffer, static_cast<size_t>(length));
}

std::string ModuleFileName(std::string_view name) { return std::string(name) + ".so"; }

}  // namespace platform
