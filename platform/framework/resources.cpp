#include "platform/framework/resources.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace platform {

CObject::~CObject() = default;

namespace {

// Registration runs on the loading thread, look-ups on any host thread.
struct Chain {
  std::mutex mutex;
  std::vector<ExtensionModule> modules;  // newest first
};

// Never destroyed: modules may withdraw while the process winds down, after
// this library's own statics would be gone.
Chain& TheChain() {
  static Chain* chain = new Chain;
  return *chain;
}

template <typename Visit>
auto FirstInChain(Visit visit) -> decltype(visit(std::declval<const ModuleResources&>())) {
  Chain& chain = TheChain();
  std::lock_guard<std::mutex> lock(chain.mutex);
  for (const ExtensionModule& module : chain.modules) {
    if (auto found = visit(*module.resources)) return found;
  }
  return {};
}

}  // namespace

bool InitExtensionModule(ExtensionModule& module, const void* handle,
                         const ModuleResources& resources) {
  if (handle == nullptr || module.handle != nullptr) return false;
  Chain& chain = TheChain();
  std::lock_guard<std::mutex> lock(chain.mutex);
  const bool known = std::any_of(chain.modules.begin(), chain.modules.end(),
                                 [handle](const ExtensionModule& m) { return m.handle == handle; });
  if (known) return false;
  module.handle = handle;
  module.resources = &resources;
  return true;
}

void AddToResourceChain(const ExtensionModule& module) {
  if (module.handle == nullptr || module.resources == nullptr) return;
  Chain& chain = TheChain();
  std::lock_guard<std::mutex> lock(chain.mutex);
  chain.modules.insert(chain.modules.begin(), module);
}

void TermExtensionModule(ExtensionModule& module) {
  if (module.handle == nullptr) return;
  Chain& chain = TheChain();
  {
    std::lock_guard<std::mutex> lock(chain.mutex);
    std::erase_if(chain.modules,
                  [&module](const ExtensionModule& m) { return m.handle == module.handle; });
  }
  module = ExtensionModule{};
}

const DialogTemplate* FindDialogTemplate(int32_t id) {
  return FirstInChain([id](const ModuleResources& resources) -> const DialogTemplate* {
    for (const DialogTemplate& dialog : resources.dialogs) {
      if (dialog.id == id) return &dialog;
    }
    return nullptr;
  });
}

std::optional<std::string> LoadResourceString(int32_t id) {
  return FirstInChain([id](const ModuleResources& resources) -> std::optional<std::string> {
    for (const StringResource& entry : resources.strings) {
      if (entry.id == id) return std::string(entry.text);
    }
    return std::nullopt;
  });
}

std::unique_ptr<CObject> CreateObjectByName(std::string_view className) {
  using Factory = CObject* (*)();
  const Factory create = FirstInChain([className](const ModuleResources& resources) -> Factory {
    for (const RuntimeClass& entry : resources.classes) {
      if (entry.name == className) return entry.create;
    }
    return nullptr;
  });
  return std::unique_ptr<CObject>(create != nullptr ? create() : nullptr);
}

}  // namespace platform
