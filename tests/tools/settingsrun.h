// How the tests run `xse settings` on this system, as a script would: the
// page drawn where the system can draw it (offscreen on Linux; on a display
// under Wine). One implementation per system, in posix/ and windows/.
#pragma once

#include <string>
#include <vector>

#include "support/childprocess.h"

namespace xsetest {

// Runs `xse settings` with `args` and waits for it.
ToolResult RunSettings(const std::vector<std::string>& args);

// Empty when the page can be shown here; otherwise why not, for the tests
// to skip with.
std::string SettingsPageUnavailable();

}  // namespace xsetest
