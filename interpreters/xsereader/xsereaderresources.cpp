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

constexpr uint32_t kEditStyle = kStyleBorder | kStyleAutoHScroll | kStyleTabStop;

constexpr std::array<platform::DialogControl, 9> kElacSettingsControls = {{
    {ControlKind::kGroupBox, kNoControlId, "Intensity ctrl", 7, 7, 186, 66, 0},
    {ControlKind::kRadioButton, kIdcIntensityNone, "None", 12, 18, 33, 10,
     kStyleAutoRadio | kStyleGroupStart | kStyleTabStop},
    {ControlKind::kRadioButton, kIdcIntensityManual, "Manual", 12, 31, 39, 10, kStyleAutoRadio},
    {ControlKind::kRadioButton, kIdcIntensityAutomatic, "Automatic", 12, 44, 47, 10,
     kStyleAutoRadio},
    {ControlKind::kLabel, kNoControlId, "Lateral gain:", 67, 31, 40, 8, 0},
    {ControlKind::kEditBox, kIdcLateralGain, "", 112, 29, 40, 14, kEditStyle},
    {ControlKind::kLabel, kNoControlId, "dB/m", 156, 32, 18, 8, 0},
    {ControlKind::kLabel, kIdcMeanValueLabel, "Mean value:", 67, 45, 40, 8, 0},
    {ControlKind::kEditBox, kIdcMeanValue, "", 112, 43, 40, 14, kEditStyle},
}};

constexpr std::array<platform::DialogTemplate, 1> kDialogs = {{
    {kIddElacSettings, "Elac settings", "MS Sans Serif", 8, 200, 80, kElacSettingsControls},
}};

constexpr std::array<platform::StringResource, 3> kStrings = {{
    {kIdsEnableSidescan, "Enable sidescan"},
    {kIdsLinearTvg, "Linear TVG"},
    {kIdsDecibelPerKilometre, "dB/km"},
}};

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
