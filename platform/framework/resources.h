// The window framework's resource and class chain. A module registers the
// dialog templates, strings and creatable classes it carries when it is
// loaded and withdraws them when it is unloaded; a host finds them by id or
// by class name without knowing which module holds them. Shared library, so
// the host and every module see the one chain.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/sharedapi.h"

namespace platform {

// Base of every class the framework can create by name.
class XSE_SHARED_API CObject {
 public:
  CObject() = default;
  CObject(const CObject&) = default;
  CObject& operator=(const CObject&) = default;
  virtual ~CObject();
};

enum class ControlKind { kGroupBox, kRadioButton, kLabel, kEditBox };

// Control styles.
inline constexpr uint32_t kStyleGroupStart = 0x1;  // first control of a group
inline constexpr uint32_t kStyleTabStop = 0x2;
inline constexpr uint32_t kStyleBorder = 0x4;
inline constexpr uint32_t kStyleAutoHScroll = 0x8;  // an edit box that scrolls sideways
inline constexpr uint32_t kStyleAutoRadio = 0x10;   // radio buttons that switch each other off

inline constexpr int32_t kNoControlId = -1;  // a control no code refers to

// Positions and sizes are in dialog units.
struct DialogControl {
  ControlKind kind;
  int32_t id;
  std::string_view text;
  int16_t x, y, width, height;
  uint32_t style;
};

struct DialogTemplate {
  int32_t id;
  std::string_view caption;
  std::string_view fontName;
  int32_t pointSize;
  int16_t width, height;
  std::span<const DialogControl> controls;
};

struct StringResource {
  int32_t id;
  std::string_view text;
};

// A class the framework can create by name (with its default constructor).
struct RuntimeClass {
  std::string_view name;
  CObject* (*create)();
};

// Everything one module carries. The module keeps it alive while registered.
struct ModuleResources {
  std::span<const DialogTemplate> dialogs;
  std::span<const StringResource> strings;
  std::span<const RuntimeClass> classes;
};

// A module's record with the framework.
struct ExtensionModule {
  const void* handle = nullptr;
  const ModuleResources* resources = nullptr;
};

// Fills `module` for the module `handle`. False when the handle is null,
// the record is already in use, or a module of that handle is already in
// the chain: a module is registered once.
XSE_SHARED_API bool InitExtensionModule(ExtensionModule& module, const void* handle,
                                        const ModuleResources& resources);
// Puts an initialised module into the chain; lookups see it from now on,
// before the modules that joined earlier.
XSE_SHARED_API void AddToResourceChain(const ExtensionModule& module);
// Takes the module out of the chain and clears its record. Anything found
// through it (templates, strings' sources, classes) is gone with it.
XSE_SHARED_API void TermExtensionModule(ExtensionModule& module);

// The dialog template `id` of the first module in the chain that has one,
// or null. Valid until that module is terminated.
XSE_SHARED_API const DialogTemplate* FindDialogTemplate(int32_t id);
// The string `id`, or nothing.
XSE_SHARED_API std::optional<std::string> LoadResourceString(int32_t id);
// A new object of the registered class `className`, or null when no module
// in the chain has that class. The object's code belongs to its module:
// destroy it before the module is unloaded.
XSE_SHARED_API std::unique_ptr<CObject> CreateObjectByName(std::string_view className);

}  // namespace platform
