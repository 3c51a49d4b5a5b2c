// xse settings: the reader plug-in's settings page "Elac settings", shown
// with Qt Widgets, for a person or a script. Built as a module of its own,
// which the tool loads for this command only.
#include <QApplication>
#include <QImage>
#include <QPixmap>
#include <QPushButton>
#include <QTimer>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "interpreters/xsereader/xsereaderresources.h"
#include "interpreters/xsereader/zelacsettingsdlg.h"
#include "interpreters/xsereader/zxsereader.h"
#include "platform/environment.h"
#include "platform/framework/resources.h"
#include "platform/qtframework/qtmessagebox.h"
#include "platform/qtframework/qtpropertysheet.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/jsontext.h"
#include "tools/xse/settingsmodule.h"

namespace xsetool {
namespace {

constexpr const char* kSettingsUsage =
    "usage: xse settings [--intensity N] [--gain DB_PER_M] [--mean N]\n"
    "                    [--screenshot FILE.png] [--press ok|cancel]\n";

constexpr const char* kSettingsHelp =
    "Opens the reader's settings page with the given values. OK prints\n"
    "{\"intensity\":N,\"lateralGain\":G,\"meanValue\":M} and exits 0; Cancel\n"
    "exits 1 and prints nothing. A value that does not parse keeps the page\n"
    "open with the framework's message.\n"
    "\n"
    "  --intensity N        intensity control: 0 None, 1 Manual, 2 Automatic\n"
    "                       (another value checks no button; default 0)\n"
    "  --gain DB_PER_M      lateral gain (default 0)\n"
    "  --mean N             mean value (default 0)\n"
    "  --screenshot FILE    draw the page into a PNG (without a window when\n"
    "                       there is no display), then exit unless --press\n"
    "                       is given too\n"
    "  --press ok|cancel    press the button at once, for scripts\n"
    "  --help               show this help\n"
    "\n"
    "Without a display, the page needs --screenshot or --press.\n";

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
    std::fprintf(stderr, "xse settings: %s\n", message.toLocal8Bit().constData());
  }
}

// The module's resources in the framework's chain while the page is up, as
// the module registers them when a host loads it.
class RegisteredResources {
 public:
  RegisteredResources() {
    if (platform::InitExtensionModule(record_, &record_, xsereader::ModuleResources())) {
      platform::AddToResourceChain(record_);
    }
  }
  RegisteredResources(const RegisteredResources&) = delete;
  RegisteredResources& operator=(const RegisteredResources&) = delete;
  ~RegisteredResources() { platform::TermExtensionModule(record_); }

 private:
  platform::ExtensionModule record_;
};

int RunSettingsPage(std::span<const std::string_view> args) {
  int32_t intensity = 0;
  float gain = 0.0f;
  int32_t mean = 0;
  std::optional<std::string> screenshot;
  std::optional<bool> pressOk;
  CommandLine line("settings", kSettingsUsage, kSettingsHelp);
  const auto int32Into = [](int32_t& target) {
    return [&target](std::string_view value) {
      const auto number = ParseInt32(value);
      target = number.value_or(0);
      return number.has_value();
    };
  };
  line.Value("--intensity", int32Into(intensity));
  line.Value("--mean", int32Into(mean));
  line.Value("--gain", [&](std::string_view value) {
    const auto number = ParseFinite(value);
    if (!number || std::fabs(*number) > static_cast<double>(FLT_MAX)) return false;
    gain = static_cast<float>(*number);
    return true;
  });
  line.Value("--screenshot", [&](std::string_view value) {
    screenshot = std::string(value);
    return !value.empty();
  });
  line.Value("--press", [&](std::string_view value) {
    pressOk = value == "ok";
    return value == "ok" || value == "cancel";
  });
  if (const auto exit = line.Parse(args)) return *exit;
  if (!line.operands().empty()) return line.UsageError("takes no operands");

  // Without a display the page can only be drawn offscreen, which suits a
  // screenshot or a script, not a person.
  std::vector<std::string> qtArgs = {"xse"};
  if (!HasDisplay()) {
    if (!screenshot && !pressOk) {
      std::fprintf(stderr,
                   "xse settings: no display (set DISPLAY, or use --screenshot or --press)\n");
      return kExitFailure;
    }
    qtArgs.insert(qtArgs.end(), {"-platform", "offscreen"});
    qInstallMessageHandler(&QuietQtMessages);
  }
  std::vector<char*> qtArgv;
  qtArgv.reserve(qtArgs.size() + 1);
  for (std::string& qtArg : qtArgs) qtArgv.push_back(qtArg.data());
  qtArgv.push_back(nullptr);
  int qtArgc = static_cast<int>(qtArgs.size());
  QApplication app(qtArgc, qtArgv.data());
  const platform::qt::QtMessageBoxScope boxes;
  const RegisteredResources resources;

  ZXSEReader reader;
  ZElacSettingsDlg page(&reader);
  page.SetValues(intensity, gain, mean);
  const auto sheet = platform::qt::QtPropertySheet::Open(page);
  if (sheet == nullptr) {
    std::fprintf(stderr, "xse settings: the settings page's template is missing\n");
    return kExitFailure;
  }
  if (screenshot) {
    sheet->show();
    QApplication::processEvents();
    const QImage image = sheet->grab().toImage();
    if (!image.save(QString::fromStdString(*screenshot), "PNG")) {
      std::fprintf(stderr, "xse: cannot write %s: the PNG could not be written\n",
                   screenshot->c_str());
      return kExitFailure;
    }
    if (!pressOk) return kExitOk;
  }
  if (pressOk) {
    QPushButton* button = *pressOk ? sheet->okButton() : sheet->cancelButton();
    QTimer::singleShot(0, button, [button] { button->click(); });
  }
  if (sheet->exec() != QDialog::Accepted) return kExitFailure;

  std::string json;
  JsonBuilder(json)
      .BeginObject()
      .Number("intensity", page.intensityControl())
      .Number("lateralGain", page.lateralGain())
      .Number("meanValue", page.meanValue())
      .EndObject();
  json += '\n';
  std::fputs(json.c_str(), stdout);
  return std::fflush(stdout) == 0 ? kExitOk : kExitFailure;
}

}  // namespace
}  // namespace xsetool

extern "C" __attribute__((visibility("default"))) int XseSettingsCommand(int argc,
                                                                         const char* const* argv) {
  static_assert(std::is_same_v<decltype(&XseSettingsCommand), XseSettingsCommandFunction>);
  const std::vector<std::string_view> args(argv, argv + argc);
  return xsetool::RunSettingsPage(args);
}
