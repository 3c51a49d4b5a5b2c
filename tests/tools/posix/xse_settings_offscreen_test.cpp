// xse settings without a display: offscreen, the page suits a script only.
#include <gtest/gtest.h>

#include "tools/settingsrun.h"

namespace {

TEST(XseSettingsOffscreenTest, PageNeedsAButtonToPressOrAScreenshot) {
  const auto result = xsetest::RunSettings({});
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "xse: no display (set DISPLAY, or use --screenshot or --press)\n");
}

}  // namespace
