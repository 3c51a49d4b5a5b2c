#include "tools/xse/progressbar.h"

#include <algorithm>

namespace xsetool {

std::string RenderProgressLine(std::string_view label, uint64_t done, uint64_t total,
                               size_t width) {
  if (total == 0) {
    // A stream: its size is not known, only what came so far.
    char numbers[48];
    std::snprintf(numbers, sizeof numbers, " %.1f MiB read", static_cast<double>(done) / (1 << 20));
    return std::string(label) + numbers;
  }
  const double fraction = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
  const auto filled = static_cast<size_t>(fraction * static_cast<double>(width));
  std::string line(label);
  line += " [";
  line.append(filled, '#');
  line.append(width - filled, '.');
  char numbers[96];
  std::snprintf(numbers, sizeof numbers, "] %3d%%  %.1f of %.1f MiB",
                static_cast<int>(fraction * 100.0), static_cast<double>(done) / (1 << 20),
                static_cast<double>(total) / (1 << 20));
  line += numbers;
  return line;
}

ProgressBar::ProgressBar(std::FILE* out, bool enabled, std::string label, uint64_t total)
    : out_(out),
      enabled_(enabled),
      label_(std::move(label)),
      total_(total),
      start_(Clock::now()),
      lastDraw_(start_) {
  // Long paths would wrap and break the redraw in place; keep their end.
  constexpr size_t kMaxLabel = 30;
  if (label_.size() > kMaxLabel) label_ = "..." + label_.substr(label_.size() - (kMaxLabel - 3));
}

void ProgressBar::Update(uint64_t done, Clock::time_point now) {
  if (!enabled_ || now - start_ < kDelay || (drawn_ && now - lastDraw_ < kInterval)) return;
  const std::string line = RenderProgressLine(label_, done, total_, 30);
  // Pads with blanks over a longer earlier line.
  std::fprintf(out_, "\r%s%*s", line.c_str(),
               static_cast<int>(lineWidth_ > line.size() ? lineWidth_ - line.size() : 0), "");
  std::fflush(out_);
  lineWidth_ = std::max(lineWidth_, line.size());
  lastDraw_ = now;
  drawn_ = true;
}

void ProgressBar::Finish() {
  if (!drawn_) return;
  std::fprintf(out_, "\r%*s\r", static_cast<int>(lineWidth_), "");
  std::fflush(out_);
  drawn_ = false;
}

}  // namespace xsetool
