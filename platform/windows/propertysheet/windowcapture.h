// A picture of what a window shows on screen.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/windows/win32.h"

namespace platform::win32 {

struct WindowImage {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgb;  // rows top to bottom, three bytes per pixel
};

// The pixels of `window`'s client area (inside its frame and title bar,
// which the window manager may draw), as they are now: draw the window
// first. Nothing, with `error` saying why, when the window has no area or
// its pixels cannot be read.
std::optional<WindowImage> CaptureWindow(HWND window, std::string& error);

}  // namespace platform::win32
