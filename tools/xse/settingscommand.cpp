// xse settings: the reader plug-in's settings page "Elac settings", shown
// with Qt Widgets, for a person or a script. Built as a module of its own,
// which the tool loads for this command only (on Linux; Windows shows the
// page with windows/settingscommand.cpp).
#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <QPushButton>
#include <QTimer>
#include <cstdio>
#include <optional>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "interpreters/xsereader/zelacsettingsdlg.h"
#include "interpreters/xsereader/zxsereader.h"
#include "platform/environment.h"
#include "platform/qtframework/qtmessagebox.h"
#include "platform/qtframework/qtpropertysheet.h"
#include "tools/xse/commands.h"
#include "tools/xse/settingsmodule.h"
#include "tools/xse/settingsoptions.h"

namespace xsetool {
namespace {

bool HasDisplay() {
  if (const auto qpa = platform::GetEnvironmentVariable("QT_QPA_PLATFORM")) {
    return *qpa != "offscreen" && *qpa != "minimal";
  }
  return platform::GetEnvironmentVariable("DISPLAY").has_value() ||
         platform::GetEnvironmentVariable("WAYLAND_DISPLAY").has_value();
}

// Offscreen, Qt's notes about what a window system would do (no size
// hints, no runtime directory) concern nobody: only its errors are shown.
void QuietQtMessages(QtMsgType type, const QMessageLogContext& /*context*/,
                     const QString& message) {
  if (type == QtCriticalMsg || type == QtFatalMsg) {
    std::fprintf(stderr, "xse: %s\n", message.toLocal8Bit().constData());
  }
}

// Qt's own arguments: offscreen without a display, which suits a
// screenshot or a script, not a person. Nothing when the page cannot be
// shown at all.
std::optional<std::vector<std::string>> QtArguments(const SettingsOptions& options) {
  std::vector<std::string> qtArgs = {"xse"};
  if (HasDisplay()) return qtArgs;
  if (!options.screenshot && !options.pressOk) return std::nullopt;
  qtArgs.insert(qtArgs.end(), {"-platform", "offscreen"});
  qInstallMessageHandler(&QuietQtMessages);
  return qtArgs;
}

bool SaveScreenshot(QWidget& sheet, const std::string& path) {
  sheet.show();
  QApplication::processEvents();
  const QImage image = sheet.grab().toImage();
  if (image.save(QString::fromStdString(path), "PNG")) return true;
  std::fprintf(stderr, "xse: cannot write %s: the PNG could not be written\n", path.c_str());
  return false;
}

// Shows the page until a button closes it: its values on OK.
int ShowPage(const SettingsOptions& options) {
  ZXSEReader reader;
  ZElacSettingsDlg page(&reader);
  page.SetValues(options.intensity, options.gain, options.mean);
  const auto sheet = platform::qt::QtPropertySheet::Open(page);
  if (sheet == nullptr) {
    std::fprintf(stderr, "xse: the settings page's template is missing\n");
    return kExitFailure;
  }
  if (options.screenshot) {
    if (!SaveScreenshot(*sheet, *options.screenshot)) return kExitFailure;
    if (!options.pressOk) return kExitOk;
  }
  if (options.pressOk) {
    QPushButton* button = *options.pressOk ? sheet->okButton() : sheet->cancelButton();
    QTimer::singleShot(0, button, [button] { button->click(); });
  }
  if (sheet->exec() != QDialog::Accepted) return kExitFailure;
  return PrintSettingsValues(page);
}

int RunSettingsPage(std::span<const std::string_view> args) {
  const auto parsed = ParseSettingsOptions(
      args,
      "Without a display the page is drawn offscreen, which needs --screenshot or --press.\n");
  if (const int* exit = std::get_if<int>(&parsed)) return *exit;
  const SettingsOptions& options = std::get<SettingsOptions>(parsed);
  std::optional<std::vector<std::string>> qtArgs = QtArguments(options);
  if (!qtArgs) {
    // Not the 1 of Cancel: a script can tell the two apart.
    std::fprintf(stderr, "xse: no display (set DISPLAY, or use --screenshot or --press)\n");
    return kExitUsage;
  }
  std::vector<char*> qtArgv;
  qtArgv.reserve(qtArgs->size() + 1);
  for (std::string& qtArg : *qtArgs) qtArgv.push_back(qtArg.data());
  qtArgv.push_back(nullptr);
  int qtArgc = static_cast<int>(qtArgs->size());
  QApplication app(qtArgc, qtArgv.data());
  const platform::qt::QtMessageBoxScope boxes;
  const RegisteredResources resources;
  return ShowPage(options);
}

}  // namespace
}  // namespace xsetool

extern "C" __attribute__((visibility("default"))) int XseSettingsCommand(int argc,
                                                                         const char* const* argv) {
  static_assert(std::is_same_v<decltype(&XseSettingsCommand), XseSettingsCommandFunction>);
  const std::vector<std::string_view> args(argv, argv + argc);
  return xsetool::RunSettingsPage(args);
}
