// The files of one recorded live session. Every byte the server sent goes
// to disk in order, damaged stretches included, into files named by the
// UTC time of their first byte (YYYYMMDD-HHMMSS.xse). A file is cut only
// where a frame starts, is written under a temporary name (NAME.part) and
// renamed when complete, and is flushed at least once a second, so a
// killed process leaves every closed file whole and the open one readable
// up to its last complete frame.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace xsetool {

class SessionRecorder {
 public:
  using Clock = std::chrono::system_clock;
  struct Rules {
    uint64_t rotateBytes = 0;  // 0: no limit
    uint64_t rotateMs = 0;     // 0: no limit
  };

  SessionRecorder(std::string folder, Rules rules) : folder_(std::move(folder)), rules_(rules) {}
  SessionRecorder(const SessionRecorder&) = delete;
  SessionRecorder& operator=(const SessionRecorder&) = delete;
  ~SessionRecorder();

  // Takes the bytes that arrived at `now`: writes every whole frame and the
  // stretches between frames, and holds a frame start until it is whole.
  // False once a write failed (see error).
  bool Take(std::span<const uint8_t> bytes, Clock::time_point now);
  // Flushes the open file when a second has passed since the last flush.
  bool Tick(Clock::time_point now);
  // Writes what is still held (a frame cut off by the end included),
  // closes the open file and gives it its name.
  bool Finish(Clock::time_point now);

  // "cannot write PATH: REASON" after a failure; empty before.
  const std::string& error() const { return error_; }
  // Thread-safe, for a status line.
  uint64_t bytes() const { return bytes_.load(std::memory_order_relaxed); }
  uint64_t frames() const { return frames_.load(std::memory_order_relaxed); }
  std::string currentFile() const;

 private:
  bool Write(std::span<const uint8_t> bytes, Clock::time_point now);
  bool Open(Clock::time_point now);
  bool Close();
  bool RotationDue(Clock::time_point now) const;
  bool Fail(const std::string& path);

  std::string folder_;
  Rules rules_;
  std::vector<uint8_t> held_;
  std::FILE* file_ = nullptr;
  std::string path_;  // the final name of the open file
  uint64_t fileBytes_ = 0;
  Clock::time_point opened_;
  Clock::time_point flushed_;
  std::string error_;
  std::atomic<uint64_t> bytes_{0};
  std::atomic<uint64_t> frames_{0};
  mutable std::mutex nameMutex_;
  std::string shownName_;  // guarded by nameMutex_
};

}  // namespace xsetool
