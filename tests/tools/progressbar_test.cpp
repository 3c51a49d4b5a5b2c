#include "tools/xse/progressbar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "support/capturedoutput.h"

namespace {

using namespace xsetool;
using namespace std::chrono_literals;

TEST(ProgressLine, ShowsBarPercentAndMebibytes) {
  EXPECT_EQ(RenderProgressLine("a.xse", 512 << 20, 1024 << 20, 10),
            "a.xse [#####.....]  50%  512.0 of 1024.0 MiB");
  EXPECT_EQ(RenderProgressLine("a", 0, 1 << 20, 4), "a [....]   0%  0.0 of 1.0 MiB");
  EXPECT_EQ(RenderProgressLine("a", 3 << 20, 1 << 20, 4), "a [####] 100%  3.0 of 1.0 MiB");
  EXPECT_EQ(RenderProgressLine("-", 3 << 20, 0, 4), "- 3.0 MiB read") << "a stream, size unknown";
}

TEST(ProgressBar, DrawsOnlyWhenEnabledAfterTheDelayAndAtMostTenTimesASecond) {
  xsetest::CapturedOutput out, disabledOut;
  {
    ProgressBar bar(out.file(), true, "f", 100 << 20),
        disabled(disabledOut.file(), false, "f", 100);
    const auto start = ProgressBar::Clock::now();
    bar.Update(1 << 20, start + 100ms);
    EXPECT_EQ(out.Text(), "") << "a quick file never shows a bar";
    bar.Update(50 << 20, start + 400ms);
    bar.Update(60 << 20, start + 450ms);  // too soon after the last draw
    bar.Update(100 << 20, start + 600ms);
    bar.Finish();
    disabled.Update(50, start + 10s);
  }
  const std::string line50 = RenderProgressLine("f", 50 << 20, 100 << 20, 30);
  const std::string line100 = RenderProgressLine("f", 100 << 20, 100 << 20, 30);
  EXPECT_EQ(out.Text(),
            "\r" + line50 + "\r" + line100 + "\r" + std::string(line100.size(), ' ') + "\r");
  EXPECT_EQ(disabledOut.Text(), "");
}

}  // namespace
