// xse settings, run as a script would: offscreen, pressing a button at once.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

xsetest::ToolResult Settings(const std::vector<std::string>& args) {
  // Qt is not built for ThreadSanitizer, which sees races inside Qt's own
  // thread pool; under it, only reports with a frame in a Qt library are
  // excused (other builds ignore the option).
  static const xsetest::TempDir suppressions;
  static const std::string file = [] {
    const std::string text = "race:libQt6Core.so\nrace:libQt6Gui.so\nrace:libQt6Widgets.so\n";
    return suppressions.Write("qt.tsan.supp",
                              {reinterpret_cast<const uint8_t*>(text.data()), text.size()});
  }();
  // No display, as in CI: the tool falls back to the offscreen platform.
  std::vector<std::string> all = {"settings"};
  all.insert(all.end(), args.begin(), args.end());
  return xsetest::RunChild(XSE_XSE_TOOL, all,
                           {"",
                            {{"DISPLAY", std::nullopt},
                             {"WAYLAND_DISPLAY", std::nullopt},
                             {"QT_QPA_PLATFORM", std::nullopt},
                             {"TSAN_OPTIONS", "suppressions=" + file}}});
}

TEST(XseSettingsTest, PressingAButtonGivesTheValuesOrNothing) {
  const struct {
    std::vector<std::string> args;
    int status;
    std::string out;
  } cases[] = {
      {{"--intensity", "2", "--gain", "0.5", "--mean", "12", "--press", "ok"},
       0,
       "{\"intensity\":2,\"lateralGain\":0.5,\"meanValue\":12}\n"},
      {{"--press", "ok"}, 0, "{\"intensity\":0,\"lateralGain\":0,\"meanValue\":0}\n"},
      {{"--intensity", "5", "--gain", "-1.25", "--press", "ok"},
       0,
       "{\"intensity\":-1,\"lateralGain\":-1.25,\"meanValue\":0}\n"},
      {{"--intensity", "1", "--press", "cancel"}, 1, ""},
      {{"--press", "maybe"}, 2, ""},
      {{"--gain", "abc", "--press", "ok"}, 2, ""},
      {{}, 1, ""},  // no display and nothing to press
  };
  for (const auto& c : cases) {
    const auto result = Settings(c.args);
    EXPECT_EQ(result.status, c.status) << result.err;
    EXPECT_EQ(result.out, c.out);
  }
}

uint32_t BigEndian32(const std::string& bytes, size_t at) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(bytes[at + i]);
  return value;
}

TEST(XseSettingsTest, ScreenshotWritesThePageAsPng) {
  xsetest::TempDir dir;
  const std::string png = dir.File("page.png");
  const auto result = Settings({"--intensity", "2", "--screenshot", png});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  const std::string bytes = xsetest::ReadWholeFile(png);
  ASSERT_GT(bytes.size(), 24u);
  EXPECT_EQ(bytes.substr(1, 3), "PNG");
  // A 200 x 80 unit page with its tab, frame and buttons around it.
  EXPECT_GT(BigEndian32(bytes, 16), 300u);
  EXPECT_GT(BigEndian32(bytes, 20), 150u);
}

}  // namespace
