// A one-line progress bar for long decodes, redrawn in place on a terminal.
// It appears only after a short delay, so quick files never flash one, and
// redraws a few times a second at most, so asking it costs little.
#pragma once

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace xsetool {

// "label [##########..........]  50%  512.0 of 1024.0 MiB": `width` cells of
// bar; `done` beyond `total` shows as full. A `total` of 0 (a stream, size
// unknown) gives "label 12.0 MiB read".
std::string RenderProgressLine(std::string_view label, uint64_t done, uint64_t total, size_t width);

class ProgressBar {
 public:
  using Clock = std::chrono::steady_clock;

  // Draws on `out` only when `enabled` (a person is watching it).
  ProgressBar(std::FILE* out, bool enabled, std::string label, uint64_t total);
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;
  ~ProgressBar() { Finish(); }

  // Reads the clock only when drawing: the decode loops call this per frame.
  void Update(uint64_t done) {
    if (enabled_) Update(done, Clock::now());
  }
  void Update(uint64_t done, Clock::time_point now);
  // Erases the line if one was drawn.
  void Finish();

 private:
  static constexpr std::chrono::milliseconds kDelay{300};
  static constexpr std::chrono::milliseconds kInterval{100};

  std::FILE* out_;
  bool enabled_;
  std::string label_;
  uint64_t total_;
  Clock::time_point start_;
  Clock::time_point lastDraw_;
  bool drawn_ = false;
  size_t lineWidth_ = 0;
};

}  // namespace xsetool
