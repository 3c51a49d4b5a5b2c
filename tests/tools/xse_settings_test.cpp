// xse settings, run as a script would: pressing a button at once, or
// drawing the page into a PNG.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "support/runtool.h"
#include "support/tempdir.h"
#include "tools/settingsrun.h"

namespace {

class XseSettingsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string unavailable = xsetest::SettingsPageUnavailable();
    if (!unavailable.empty()) GTEST_SKIP() << unavailable;
  }
};

TEST_F(XseSettingsTest, PressingAButtonGivesTheValuesOrNothing) {
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
  };
  for (const auto& c : cases) {
    const auto result = xsetest::RunSettings(c.args);
    EXPECT_EQ(result.status, c.status) << result.err;
    EXPECT_EQ(result.out, c.out);
  }
}

uint32_t BigEndian32(const std::string& bytes, size_t at) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i) value = value << 8 | static_cast<uint8_t>(bytes[at + i]);
  return value;
}

TEST_F(XseSettingsTest, ScreenshotWritesThePageAsPng) {
  xsetest::TempDir dir;
  const std::string png = dir.File("page.png");
  const auto result = xsetest::RunSettings({"--intensity", "2", "--screenshot", png});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  const std::string bytes = xsetest::ReadWholeFile(png);
  ASSERT_GT(bytes.size(), 24u);
  EXPECT_EQ(bytes.substr(1, 3), "PNG");
  // A 200 x 80 unit page with its tab and buttons around it.
  EXPECT_GT(BigEndian32(bytes, 16), 300u);
  EXPECT_GT(BigEndian32(bytes, 20), 150u);
}

}  // namespace
