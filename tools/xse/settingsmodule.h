// The one entry point of the `xse settings` module: the command's arguments
// (after "settings") in, its exit code out.
#pragma once

using XseSettingsCommandFunction = int (*)(int argc, const char* const* argv);
inline constexpr const char* kXseSettingsCommandName = "XseSettingsCommand";
