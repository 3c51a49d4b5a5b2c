// The module's entry and its module-wide objects. The system loader runs no
// entry of its own in a shared library, so a load-time constructor and an
// unload-time destructor call the entry with the attach and detach reasons.
#include "interpreters/xsereader/xsereaderapp.h"

#include <atomic>
#include <string>

#include "interpreters/xsereader/xsereaderapi.h"
#include "interpreters/xsereader/xsereaderresources.h"
#include "libsys/moduletrace.h"
#include "libsys/zkeelonini.h"
#include "libsys/ztracelogfile.h"
#include "platform/framework/resources.h"
#include "platform/modulepath.h"
#include "platform/namedmutex.h"

namespace {

// The installation root used when none is configured.
constexpr char kDefaultRoot[] = "c:\\qUoR\\kEeLoN";

class ModuleMutex {
 public:
  explicit ModuleMutex(const char* name) : mutex_(platform::CreateNamedMutex(name)) {}
  ModuleMutex(const ModuleMutex&) = delete;
  ModuleMutex& operator=(const ModuleMutex&) = delete;
  ~ModuleMutex() { platform::CloseNamedMutex(mutex_); }

 private:
  platform::NamedMutex* mutex_;
};

// Module-wide objects: members are built in this order and destroyed in
// the reverse one.
struct ModuleObjects {
  ZTraceLogFile traceLogFile{"pilotdesk"};
  ZGenericIni mainSettings{(std::string(kDefaultRoot) + "/Setup/Keelon.ini").c_str(), nullptr};
  ZGenericIni defaultSettings{(std::string(kDefaultRoot) + "/Setup/Keelon.default.ini").c_str(),
                              nullptr};
  // Shared with every module and process that locks the settings files.
  ModuleMutex settingsLock{"ZKeelonIniLocked::g_mtxLock"};
};

ModuleObjects* g_objects = nullptr;
platform::ExtensionModule g_extensionModule;
const void* g_moduleHandle = nullptr;
std::atomic<bool> g_attached{false};

int32_t ProcessAttach(const void* module) {
  if (!platform::InitExtensionModule(g_extensionModule, module, xsereader::ModuleResources())) {
    return 0;
  }
  platform::AddToResourceChain(g_extensionModule);
  const int32_t readSettings = -1;
  if (g_objects != nullptr) SetupModuleTrace(g_objects->traceLogFile, &readSettings);
  QUORLOG(1, "XSEReader.DLL initiated!");
  return 1;
}

int32_t ProcessDetach() {
  QUORLOG(1, "XSEReader.DLL terminated!");
  if (g_objects != nullptr) SetupModuleTrace(g_objects->traceLogFile, nullptr);
  platform::TermExtensionModule(g_extensionModule);
  return 1;
}

// Runs when the module is loaded, before the dynamic initialisers of the
// static libraries linked in behind this file; nothing on the attach path
// depends on them (it shows no message box).
__attribute__((constructor)) void LoadModule() {
  g_objects = new ModuleObjects;
  const std::optional<platform::ModuleInfo> self = platform::ModuleContaining(&g_extensionModule);
  g_moduleHandle = self ? self->base : nullptr;
  g_attached = XSEReaderModuleEntry(g_moduleHandle, kModuleProcessAttach, nullptr) != 0;
}

__attribute__((destructor)) void UnloadModule() {
  if (g_attached.exchange(false))
    XSEReaderModuleEntry(g_moduleHandle, kModuleProcessDetach, nullptr);
  delete g_objects;
  g_objects = nullptr;
}

}  // namespace

namespace xsereader {

bool ModuleAttached() { return g_attached.load(); }

}  // namespace xsereader

extern "C" int32_t XSEReaderModuleEntry(const void* module, uint32_t reason, void* /*reserved*/) {
  switch (reason) {
    case kModuleProcessAttach:
      return ProcessAttach(module);
    case kModuleProcessDetach:
      return ProcessDetach();
    default:
      return 1;
  }
}
