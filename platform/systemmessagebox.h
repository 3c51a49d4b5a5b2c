// Inside the message box library: how the system shows a box when no
// handler is installed. Waits until the box is closed.
#pragma once

#include <string>

namespace platform {

void ShowSystemMessageBox(const std::string& caption, const std::string& text);

}  // namespace platform
