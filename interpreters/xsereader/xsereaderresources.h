// The module's resources: the settings page's dialog template, the string
// table and the classes a host can create by name. The module registers
// them with the window framework while it is loaded.
#pragma once

#include <cstdint>

#include "platform/framework/resources.h"

namespace xsereader {

inline constexpr int32_t kIddElacSettings = 19001;
inline constexpr int32_t kIdcIntensityNone = 19004;  // first of the radio group
inline constexpr int32_t kIdcIntensityManual = 19005;
inline constexpr int32_t kIdcIntensityAutomatic = 19006;
inline constexpr int32_t kIdcLateralGain = 19007;
inline constexpr int32_t kIdcMeanValue = 19008;
inline constexpr int32_t kIdcMeanValueLabel = 19009;

inline constexpr int32_t kIdsEnableSidescan = 20108;
inline constexpr int32_t kIdsLinearTvg = 20112;
inline constexpr int32_t kIdsDecibelPerKilometre = 20113;

// Everything the module carries, for platform::InitExtensionModule.
const platform::ModuleResources& ModuleResources();

}  // namespace xsereader
