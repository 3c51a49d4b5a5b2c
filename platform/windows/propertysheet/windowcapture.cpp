#include "platform/windows/propertysheet/windowcapture.h"

#include "platform/windows/win32error.h"

namespace platform::win32 {
namespace {

// Releases what the capture holds, whichever way it ends.
struct CaptureObjects {
  HWND window = nullptr;
  HDC windowDc = nullptr;
  HDC memoryDc = nullptr;
  HBITMAP bitmap = nullptr;
  HGDIOBJ previous = nullptr;

  CaptureObjects() = default;
  CaptureObjects(const CaptureObjects&) = delete;
  CaptureObjects& operator=(const CaptureObjects&) = delete;
  ~CaptureObjects() {
    if (previous != nullptr) ::SelectObject(memoryDc, previous);
    if (bitmap != nullptr) ::DeleteObject(bitmap);
    if (memoryDc != nullptr) ::DeleteDC(memoryDc);
    if (windowDc != nullptr) ::ReleaseDC(window, windowDc);
  }
};

}  // namespace

std::optional<WindowImage> CaptureWindow(HWND window, std::string& error) {
  RECT bounds{};
  if (!::GetClientRect(window, &bounds)) {
    error = "no window: " + Win32ErrorText(::GetLastError());
    return std::nullopt;
  }
  WindowImage image;
  image.width = bounds.right - bounds.left;
  image.height = bounds.bottom - bounds.top;
  if (image.width <= 0 || image.height <= 0) {
    error = "the window has no area";
    return std::nullopt;
  }

  CaptureObjects objects;
  objects.window = window;
  objects.windowDc = ::GetDC(window);
  objects.memoryDc = objects.windowDc != nullptr ? ::CreateCompatibleDC(objects.windowDc) : nullptr;
  // 32 bits per pixel, top row first: rows need no padding and come in the
  // order the picture keeps them.
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof info.bmiHeader;
  info.bmiHeader.biWidth = image.width;
  info.bmiHeader.biHeight = -image.height;
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  if (objects.memoryDc != nullptr) {
    objects.bitmap = ::CreateDIBSection(objects.memoryDc, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  }
  if (objects.bitmap == nullptr || bits == nullptr) {
    error = "no memory for the picture: " + Win32ErrorText(::GetLastError());
    return std::nullopt;
  }
  objects.previous = ::SelectObject(objects.memoryDc, objects.bitmap);
  if (!::BitBlt(objects.memoryDc, 0, 0, image.width, image.height, objects.windowDc, 0, 0,
                SRCCOPY)) {
    error = "the window's pixels cannot be read: " + Win32ErrorText(::GetLastError());
    return std::nullopt;
  }
  ::GdiFlush();  // the DIB's bits are complete only once GDI has drawn

  const size_t pixels = static_cast<size_t>(image.width) * static_cast<size_t>(image.height);
  const auto* bgrx = static_cast<const uint8_t*>(bits);
  image.rgb.resize(pixels * 3);
  for (size_t i = 0; i < pixels; ++i) {
    image.rgb[i * 3] = bgrx[i * 4 + 2];
    image.rgb[i * 3 + 1] = bgrx[i * 4 + 1];
    image.rgb[i * 3 + 2] = bgrx[i * 4];
  }
  return image;
}

}  // namespace platform::win32
