// The module's trace set-up: switches the trace log on when the module is
// loaded and off when it is unloaded. The switches live in the
// installation's main settings file (section "pilotdesk": TRACEFILE, the
// file name, and TRACE, 1 normal or 2 verbose); each process writes its own
// file, "<name>.<process id>.log". Only a module whose own file lies on a
// path containing "keelon" traces at all: builds outside an installation
// stay silent whatever the settings say.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "libsys/zkeelonini.h"

inline constexpr int32_t E_OUTOFMEMORY = static_cast<int32_t>(0x8007000Eu);

// Size of the build text buffer the module trace uses.
inline constexpr int32_t kBuildStampSize = 40;

// The trace settings object of a module: one static instance per module.
class ZTraceLogFile {
 public:
  // Resets the trace state; `section` names the settings file section.
  explicit ZTraceLogFile(const char* section);
  ZTraceLogFile(const ZTraceLogFile&) = delete;
  ZTraceLogFile& operator=(const ZTraceLogFile&) = delete;
  // Resets the trace state once more.
  ~ZTraceLogFile();

  // Starts the trace. A level below 1 reads level and file name from the
  // settings; 1 or 2 start at once with the name already held (the
  // section's "<section>.log" when there is none). With `perProcess` the
  // name becomes "<stem>.<process id>.log". Writes the attach line. Returns
  // 1 when the trace is on, 0 when it stays off (no settings, level not 1
  // or 2, empty file name).
  int32_t Init(int32_t level, const char* modulePath, const char* buildText, int32_t perProcess);
  // Ends the trace: closes the trace mutex, optionally stores the trace
  // setting under key "trace" of the section, writes the detach line
  // (unlocked, the mutex being gone) and resets the trace state.
  void Shutdown(const char* modulePath, bool storeLevel);

  const std::string& name() const { return name_; }
  const std::string& section() const { return section_; }

 private:
  std::string name_;
  std::string section_;
};

// The module's build text, "<date>  <time>  <kind>" such as
// "Aug 19 2022  15:42:58  (Release)", copied into `buffer` with the rest of
// its `size` bytes zeroed. Returns 0, or E_OUTOFMEMORY with the buffer
// untouched when it cannot hold the text and its terminating zero.
int32_t GetBuildStamp(char* buffer, int32_t size);
// The same for given parts (GetBuildStamp passes the compiler's).
int32_t FormatBuildStamp(const char* date, const char* time, const char* kind, char* buffer,
                         int32_t size);

// The module lines, at level 2: "<path> module attached with trace <n> -
// Build: '<text>'" and "<path> module detached"; a null path or text shows
// as "(n/a)". Each returns 1 when written, 0 when the trace is not active.
int32_t TraceWriteAttached(const char* modulePath, const char* buildText);
int32_t TraceWriteDetached(const char* modulePath);

// "<stem>.<processId>.log": in the file name (the folders stay as they
// are), the first ".log" removed (unless it begins the name), then
// everything from the first '.' (unless it begins the name).
std::string PerProcessTraceName(std::string_view name, uint32_t processId);

// Whether a module at `modulePath` traces: "keelon", in any letter case,
// somewhere after the path's first character.
bool PathAsksForTrace(std::string_view modulePath);

// Starts (`level` given; -1 reads the settings) or stops (null) the trace
// of the module this library is linked into, held by `traceLogFile`.
// A start that fails stops the trace. Always returns 0.
int32_t SetupModuleTrace(ZTraceLogFile& traceLogFile, const int32_t* level);

// Full path of the module this library is linked into; empty when the
// system cannot tell.
std::string OwnModulePath();
