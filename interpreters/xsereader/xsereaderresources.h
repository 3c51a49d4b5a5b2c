// The module's resources: the settings page's dialog template, the string
// table and the classes a host can create by name. The module registers
// them with the window framework while it is loaded; on Windows the dialog
// and the strings are in the module's own resources as well.
#pragma once

#include <cstdint>

// The ids (kIdd... dialogs, kIdc... controls, kIds... strings), made from
// xsereader.resources, the one description of the module's resources.
#include "interpreters/xsereader/xsereaderresourceids.h"
#include "platform/framework/resources.h"

namespace xsereader {

// Everything the module carries, for platform::InitExtensionModule.
const platform::ModuleResources& ModuleResources();

}  // namespace xsereader
