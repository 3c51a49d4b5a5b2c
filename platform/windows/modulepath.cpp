#include "platform/modulepath.h"

#include <algorithm>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

namespace platform {
namespace {

// The file of `module` (null: the program) in UTF-8 with '/' separators.
std::string ModuleFile(HMODULE module) {
  // Paths may exceed MAX_PATH; the buffer grows until the name fits.
  std::wstring path(MAX_PATH, L'\0');
  for (int attempt = 0; attempt < 6; ++attempt) {
    const DWORD length = ::GetModuleFileNameW(module, path.data(), static_cast<DWORD>(path.size()));
    if (length == 0) return {};
    if (length < path.size()) {
      path.resize(length);
      std::replace(path.begin(), path.end(), L'\\', L'/');
      return NarrowToUtf8(path);
    }
    path.resize(path.size() * 4);
  }
  return {};
}

}  // namespace

std::optional<ModuleInfo> ModuleContaining(const void* address) {
  HMODULE module = nullptr;
  // The reference count stays as it is: the caller asks about a module that
  // is loaded anyway, and holds no reference of its own.
  if (address == nullptr || !::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                                                      GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                                                  static_cast<LPCWSTR>(address), &module)) {
    return std::nullopt;
  }
  ModuleInfo info;
  info.path = ModuleFile(module);
  info.base = reinterpret_cast<const void*>(module);  // the handle is the load address
  if (info.path.empty()) return std::nullopt;
  return info;
}

std::string ExecutablePath() { return ModuleFile(nullptr); }

std::string ModuleFileName(std::string_view name) { return std::string(name) + ".dll"; }

}  // namespace platform
