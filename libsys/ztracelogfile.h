// The trace log: the module's diagnostic journal, a text file to which any
// thread appends short lines through QUORLOG. It is off until TraceStart
// switches it on and never disturbs its caller: every failure (no file, no
// lock) is swallowed. Lines of all threads and processes that trace to one
// file are ordered by a named mutex called after the file name.
//
// Levels: 0 a four-line alert block, 1 ordinary events (time, thread, source
// location, text), 2 module lines (time, text), 3 verbose lines (text only),
// written only at trace setting 2. The file is found by TraceBuildPath.
//
// The library's held-open mode (keeping the file open between lines) is not
// provided: nothing here needs it, so every line opens, appends to and closes
// the file and is complete on disk when TraceWrite returns.
#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>

#include "platform/namedmutex.h"

namespace trace_detail {
// The trace setting, read inline so that a line that will not be written
// costs one comparison.
extern std::atomic<int32_t> g_traceSetting;

inline bool LineWanted(int32_t level) {
  const int32_t setting = g_traceSetting.load(std::memory_order_acquire);
  return setting > 0 && (level != 3 || setting >= 2);
}
}  // namespace trace_detail

// QUORLOG(level, format, ...): writes one trace line, printf-style. The lock
// comes before the source location, so the location belongs to this line.
// When the line would not be written the arguments are not evaluated.
#define QUORLOG(level, ...)                         \
  do {                                              \
    const int32_t quorlogLevel = (level);           \
    if (::trace_detail::LineWanted(quorlogLevel)) { \
      ZTraceLock quorlogLock(quorlogLevel);         \
      TraceSetSource(__FILE__, __LINE__);           \
      TraceWrite(quorlogLevel, __VA_ARGS__);        \
    }                                               \
  } while (false)

// Holds the trace mutex for one line. Waits at most 555 ms (111 ms for
// level 3, and not at all for level 3 below setting 2 or when the trace is
// off); after a time-out the line is written without the lock.
class ZTraceLock {
 public:
  explicit ZTraceLock(int32_t level);
  ~ZTraceLock() { Release(); }
  ZTraceLock(const ZTraceLock&) = delete;
  ZTraceLock& operator=(const ZTraceLock&) = delete;

  // Gives the mutex back if held. True when the guard no longer holds it.
  bool Release();
  bool Held() const { return held_ != 0; }
  int32_t level() const { return level_; }

 private:
  platform::NamedMutex* mutex_;  // copied at construction
  int32_t level_;
  int32_t held_ = 0;
};

// Records the source location shown in level-0 and level-1 lines. The
// location is kept per thread, so a writer that writes without the lock
// cannot put its location into another writer's line.
void TraceSetSource(const char* sourceFile, int32_t sourceLine);

// Formats (at most 1023 characters; longer texts are cut) and appends one
// line of `level`. Does nothing when the trace is off, or for level 3 below
// setting 2. When no log folder was found, a warning line precedes it.
void TraceWrite(int32_t level, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Writes `text` in the layout of `level` to `stream` with the current local
// time, the module's thread id and this thread's source location; flushes.
void TraceFormatLine(std::FILE* stream, uint32_t level, const char* text);

// Rebuilds this thread's full path of the trace file (TraceFullPath):
//  1  the name is absolute (starts with '/', holds a ':' or a "\\"), or the
//     log folder was found: an entry "log" in the current folder, else in the
//     first folder of the ';'-separated list in $QUORHOME that has one; the
//     path is "<log folder>/<name>".
// -1  no log folder, or "<log folder>/<name>" would not fit 260 characters:
//     the bare name, relative to the current folder.
//  0  the path to use would not fit 260 characters: the line is dropped.
// Without a file name, "quortrace.log" is used.
int32_t TraceBuildPath();

// This thread's path built by the last TraceBuildPath; empty before.
const char* TraceFullPath();

// True when a trace file name is set and the setting is 1 or more.
bool TraceIsActive();

// The trace setting: 0 off, 1 normal, 2 verbose.
int32_t TraceSetting();

// Switches the trace on: keeps a copy of `fileName` (null: lines go to
// "quortrace.log" but the trace does not count as active), sets the setting
// and, when there is no trace mutex yet, creates one named after the file
// name. A mutex that cannot be created leaves lines unlocked. False, with
// nothing changed, when the setting is not 1 or 2 or memory runs out.
// Start and stop must not run while other threads write lines.
bool TraceStart(int32_t setting, const char* fileName);

// Closes the trace mutex, if any; later lines are written without the lock.
void TraceCloseMutex();

// Switches the trace off: setting 0, name forgotten, mutex closed. Returns 1.
int32_t TraceReset() noexcept;
