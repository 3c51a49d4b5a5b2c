#include "interpreters/xsereader/xsereaderresources.h"

#include <array>

#include "interpreters/surveyreaderlib/elacreader/elacconnection.h"
#include "interpreters/xsereader/zelacsettingsdlg.h"
#include "quorsocket/socketclient.h"

namespace xsereader {
namespace {

using platform::ControlKind;
using platform::kNoControlId;
using platform::kStyleAutoHScroll;
using platform::kStyleAutoRadio;
using platform::kStyleBorder;
using platform::kStyleGroupStart;
using platform::kStyleTabStop;

// The dialogs and strings, made from xsereader.resources (which the build
// also turns into the module's Windows resources).
#include "interpreters/xsereader/xsereaderresourcetables.inc"

platform::CObject* NewElacSettingsDlg() { return new ZElacSettingsDlg(nullptr); }
// Created by name, a client assembles no packets and a connection has no
// record target.
platform::CObject* NewSocketClient() { return new CSocketClient(false); }
platform::CObject* NewElacConnection() { return new ElacConnection(); }

const std::array<platform::RuntimeClass, 3> kClasses = {{
    {"ZElacSettingsDlg", &NewElacSettingsDlg},
    {"CSocketClient", &NewSocketClient},
    {"ElacConnection", &NewElacConnection},
}};

const platform::ModuleResources kResources = {kDialogs, kStrings, kClasses};

}  // namespace

const platform::ModuleResources& ModuleResources() { return kResources; }

}  // namespace xsereader
