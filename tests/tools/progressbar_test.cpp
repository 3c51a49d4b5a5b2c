#include "tools/xse/progressbar.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>

namespace {

using xsetool::ProgressBar;
using xsetool::RenderProgressLine;
using namespace std::chrono_literals;

TEST(ProgressLine, ShowsBarPercentAndMebibytes) {
  EXPECT_EQ(RenderProgressLine("a.xse", 512 << 20, 1024 << 20, 10),
            "a.xse [#####.....]  50%  512.0 of 1024.0 MiB");
  EXPECT_EQ(RenderProgressLine("a", 0, 1 << 20, 4), "a [....]   0%  0.0 of 1.0 MiB");
  EXPECT_EQ(RenderProgressLine("a", 3 << 20, 1 << 20, 4), "a [####] 100%  3.0 of 1.0 MiB");
  EXPECT_EQ(RenderProgressLine("a", 0, 0, 4), "a [####] 100%  0.0 of 0.0 MiB");
}

std::string Contents(std::FILE* file) {
  std::rewind(file);
  std::string text;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text += static_cast<char>(c);
  return text;
}

TEST(ProgressBar, DrawsOnlyAfterTheDelayAndAtMostTenTimesASecond) {
  std::FILE* out = std::tmpfile();
  ASSERT_NE(out, nullptr);
  {
    ProgressBar bar(out, true, "f", 100 << 20);
    const auto start = ProgressBar::Clock::now();
    bar.Update(1 << 20, start + 100ms);
    EXPECT_EQ(Contents(out), "") << "a quick file never shows a bar";
    std::fseek(out, 0, SEEK_END);
    bar.Update(50 << 20, start + 400ms);
    bar.Update(60 << 20, start + 450ms);  // too soon after the last draw
    bar.Update(100 << 20, start + 600ms);
    bar.Finish();
  }
  const std::string line50 = RenderProgressLine("f", 50 << 20, 100 << 20, 30);
  const std::string line100 = RenderProgressLine("f", 100 << 20, 100 << 20, 30);
  EXPECT_EQ(Contents(out),
            "\r" + line50 + "\r" + line100 + "\r" + std::string(line100.size(), ' ') + "\r");
  std::fclose(out);
}

TEST(ProgressBar, DisabledBarWritesNothing) {
  std::FILE* out = std::tmpfile();
  ASSERT_NE(out, nullptr);
  {
    ProgressBar bar(out, false, "f", 100);
    bar.Update(50, ProgressBar::Clock::now() + 10s);
  }
  EXPECT_EQ(Contents(out), "");
  std::fclose(out);
}

}  // namespace
