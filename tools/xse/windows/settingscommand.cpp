// xse settings on Windows: the reader plug-in's settings page "Elac
// settings" as the system's own property sheet, made from the dialog in
// xsereader.dll's resources, for a person or a script. Built as a module of
// its own, which the tool loads for this command only, as on Linux.
#include <cstdio>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "interpreters/xsereader/zelacsettingsdlg.h"
#include "interpreters/xsereader/zxsereader.h"
#include "platform/modulepath.h"
#include "platform/windows/propertysheet/win32propertysheet.h"
#include "platform/windows/propertysheet/windowcapture.h"
#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"
#include "platform/windows/win32error.h"
#include "tools/plot/pngfile.h"
#include "tools/plot/raster.h"
#include "tools/xse/commands.h"
#include "tools/xse/settingsmodule.h"
#include "tools/xse/settingsoptions.h"

namespace xsetool {
namespace {

using platform::win32::SheetOutcome;
using platform::win32::Win32PropertySheet;

// The plug-in module, loaded as data: its resources are read, none of its
// code runs (no trace log, no settings files).
class ResourceModule {
 public:
  explicit ResourceModule(const std::string& path) {
    std::wstring wide = platform::WidenUtf8(path);
    for (wchar_t& c : wide) c = c == L'/' ? L'\\' : c;
    handle_ = ::LoadLibraryExW(wide.c_str(), nullptr,
                               LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    if (handle_ == nullptr) error_ = platform::Win32ErrorText(::GetLastError());
  }
  ResourceModule(const ResourceModule&) = delete;
  ResourceModule& operator=(const ResourceModule&) = delete;
  ~ResourceModule() {
    if (handle_ != nullptr) ::FreeLibrary(handle_);
  }
  HMODULE handle() const { return handle_; }
  const std::string& error() const { return error_; }

 private:
  HMODULE handle_ = nullptr;
  std::string error_;
};

// The sheet's window as it is on screen into a PNG. False, with the reason
// on stderr, when it cannot be captured or written.
bool WriteScreenshot(HWND sheet, const std::string& path) {
  std::string error;
  const auto image = platform::win32::CaptureWindow(sheet, error);
  if (image) {
    xseplot::Raster raster(image->width, image->height, {});
    const uint8_t* rgb = image->rgb.data();
    for (int y = 0; y < image->height; ++y) {
      for (int x = 0; x < image->width; ++x, rgb += 3) raster.Set(x, y, {rgb[0], rgb[1], rgb[2]});
    }
    if (xseplot::WritePngFile(path, raster, error)) return true;
  }
  std::fprintf(stderr, "xse: cannot write %s: %s\n", path.c_str(), error.c_str());
  return false;
}

int RunSettingsPage(std::span<const std::string_view> args) {
  const auto parsed = ParseSettingsOptions(
      args, "The page's dialog is read from xsereader.dll beside the program.\n");
  if (const int* exit = std::get_if<int>(&parsed)) return *exit;
  const SettingsOptions& options = std::get<SettingsOptions>(parsed);

  const std::string modulePath =
      platform::FindModuleBesideProgram(XSE_READER_MODULE_FILE, "", XSE_BUILT_READER_MODULE);
  const ResourceModule module(modulePath);
  if (module.handle() == nullptr) {
    std::fprintf(stderr, "xse: cannot load the settings page: %s: %s\n", modulePath.c_str(),
                 module.error().c_str());
    return kExitFailure;
  }
  const RegisteredResources resources;

  ZXSEReader reader;
  ZElacSettingsDlg page(&reader);
  page.SetValues(options.intensity, options.gain, options.mean);
  Win32PropertySheet sheet(page, module.handle());
  bool written = true;
  const SheetOutcome outcome = sheet.Run([&](HWND window) {
    if (options.screenshot) written = WriteScreenshot(window, *options.screenshot);
    // After a screenshot alone the sheet closes as Cancel does.
    if (options.screenshot || options.pressOk) {
      Win32PropertySheet::PressButton(window, written && options.pressOk.value_or(false));
    }
  });
  if (outcome == SheetOutcome::kFailed) {
    std::fprintf(stderr, "xse: %s\n", sheet.error().c_str());
    return kExitFailure;
  }
  if (!written) return kExitFailure;
  if (options.screenshot && !options.pressOk) return kExitOk;
  if (outcome != SheetOutcome::kOk) return kExitFailure;
  return PrintSettingsValues(page);
}

}  // namespace
}  // namespace xsetool

extern "C" __declspec(dllexport) int XseSettingsCommand(int argc, const char* const* argv) {
  static_assert(std::is_same_v<decltype(&XseSettingsCommand), XseSettingsCommandFunction>);
  const std::vector<std::string_view> args(argv, argv + argc);
  return xsetool::RunSettingsPage(args);
}
