#include "libsys/ztracelogfile.h"

#include <cstdarg>
#include <cstring>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "libsys/tracelinelayout.h"
#include "platform/environment.h"
#include "platform/localtime.h"
#include "platform/paths.h"
#include "platform/processinfo.h"
#include "platform/stdiofile.h"

namespace trace_detail {
std::atomic<int32_t> g_traceSetting{0};
}  // namespace trace_detail

namespace {

constexpr size_t kPathCapacity = 260;  // terminator included
constexpr size_t kTextCapacity = 1024;
constexpr uint32_t kWaitMs = 555;
constexpr uint32_t kVerboseWaitMs = 111;
constexpr char kMissingHomeWarning[] =
    ">>>> QUORLOG(): no/bad defined $QUORHOME environment variable!!! <<<<";

// Module-wide; the name and the mutex change only while no other thread
// writes (start and stop), so plain fields suffice for them.
struct TraceState {
  std::optional<std::string> fileName;  // none: lines go to the default name
  platform::NamedMutex* mutex = nullptr;
  // Last thread that took the mutex normally; written and read under the
  // lock, atomic because a writer whose wait timed out reads it too.
  std::atomic<uint32_t> threadId{0};
  const char* homeVariable = "QUORHOME";
  const char* defaultFileName = "quortrace.log";
  // Shown in level-0 blocks. Nothing sets it: the host has no say in it.
  const char* programName = "";
};
TraceState g_state;

// What each writer keeps of its own line: where it comes from and where it
// goes. Module-wide copies would let a writer without the lock mix its line
// with another's.
struct WriterState {
  const char* sourceFile = "";
  int32_t sourceLine = 0;
  char fullPath[kPathCapacity] = {};
};
thread_local WriterState t_writer;

int32_t Setting() { return trace_detail::g_traceSetting.load(std::memory_order_acquire); }

bool IsAbsoluteName(std::string_view name) {
  return name.starts_with('/') || name.find(':') != std::string_view::npos ||
         name.find("\\\\") != std::string_view::npos;
}

// Copies `path` into this writer's full path; false (path emptied) when it
// does not fit.
bool SetFullPath(std::string_view path) {
  if (path.size() >= kPathCapacity) {
    t_writer.fullPath[0] = '\0';
    return false;
  }
  path.copy(t_writer.fullPath, path.size());
  t_writer.fullPath[path.size()] = '\0';
  return true;
}

// The first entry named "log" in the current folder or in a folder of the
// home list, as an absolute path; empty when there is none.
std::string FindLogFolder() {
  if (platform::EntryExists("", "log")) {
    std::string found = platform::AbsolutePath("log");
    if (!found.empty()) return found;
  }
  const std::optional<std::string> list = platform::GetEnvironmentVariable(g_state.homeVariable);
  if (!list) return {};
  std::string_view rest = *list;
  while (!rest.empty()) {
    const size_t end = rest.find(';');
    const std::string_view folder = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (folder.empty() || !platform::EntryExists(folder, "log")) continue;
    std::string found = platform::AbsolutePath(std::string(folder) + "/log");
    if (!found.empty()) return found;
  }
  return {};
}

}  // namespace

ZTraceLock::ZTraceLock(int32_t level) : mutex_(g_state.mutex), level_(level) {
  const int32_t setting = Setting();
  if (setting <= 0 || mutex_ == nullptr) return;
  uint32_t waitMs = kWaitMs;
  if (level == 3) {
    if (setting < 2) return;  // the line will not be written: do not queue for it
    waitMs = kVerboseWaitMs;
  }
  switch (platform::WaitNamedMutex(mutex_, waitMs)) {
    case platform::MutexWait::kAcquired:
      g_state.threadId.store(platform::CurrentThreadId(), std::memory_order_relaxed);
      held_ = 1;
      break;
    case platform::MutexWait::kAbandoned:
      held_ = 1;  // ours now, but the thread column keeps its last normal owner
      break;
    case platform::MutexWait::kTimedOut:
    case platform::MutexWait::kFailed:
      break;
  }
}

bool ZTraceLock::Release() {
  if (held_ != 0 && mutex_ != nullptr && platform::ReleaseNamedMutex(mutex_)) held_ = 0;
  return held_ == 0;
}

void TraceSetSource(const char* sourceFile, int32_t sourceLine) {
  t_writer.sourceFile = sourceFile != nullptr ? sourceFile : "";
  t_writer.sourceLine = sourceLine;
}

void TraceWrite(int32_t level, const char* format, ...) {
  const int32_t setting = Setting();
  if (setting <= 0) return;
  if (level == 3 && setting < 2) return;
  if (format == nullptr) return;

  char text[kTextCapacity];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  if (length < 0) return;  // the format itself failed: nothing sensible to write

  const int32_t where = TraceBuildPath();
  if (where == 0) return;
  std::FILE* file = platform::OpenStdioFile(t_writer.fullPath, "a");
  if (file == nullptr) return;
  if (where < 1) TraceFormatLine(file, 2, kMissingHomeWarning);
  TraceFormatLine(file, static_cast<uint32_t>(level), text);
  std::fclose(file);
}

void TraceFormatLine(std::FILE* stream, uint32_t level, const char* text) {
  const std::optional<platform::LocalTime> now = platform::LocalTimeNow();
  TraceLineContext context;
  context.setting = Setting();
  context.threadId = g_state.threadId.load(std::memory_order_relaxed);
  context.sourceFile = t_writer.sourceFile;
  context.sourceLine = t_writer.sourceLine;
  context.programName = g_state.programName;
  context.localTime = now ? &*now : nullptr;
  WriteTraceLine(stream, context, level, text);
}

int32_t TraceBuildPath() {
  const char* name = g_state.fileName ? g_state.fileName->c_str() : nullptr;
  if (name != nullptr && IsAbsoluteName(name)) return SetFullPath(name) ? 1 : 0;
  const std::string_view fileName = name != nullptr ? name : g_state.defaultFileName;

  const std::string logFolder = FindLogFolder();
  if (!logFolder.empty() && SetFullPath(logFolder + "/" + std::string(fileName))) return 1;
  // A log folder too deep for the name counts as a bad home: the line goes to
  // the current folder behind the warning rather than being lost.
  return SetFullPath(fileName) ? -1 : 0;
}

const char* TraceFullPath() { return t_writer.fullPath; }

bool TraceIsActive() { return g_state.fileName.has_value() && Setting() >= 1; }

int32_t TraceSetting() { return Setting(); }

bool TraceStart(int32_t setting, const char* fileName) {
  if (setting < 1 || setting > 2) return false;
  std::optional<std::string> copy;
  try {
    if (fileName != nullptr) copy.emplace(fileName);
  } catch (const std::bad_alloc&) {
    return false;
  }
  g_state.fileName = std::move(copy);
  if (g_state.mutex == nullptr) {
    g_state.mutex = platform::CreateNamedMutex(g_state.fileName ? g_state.fileName->c_str()
                                                                : g_state.defaultFileName);
  }
  trace_detail::g_traceSetting.store(setting, std::memory_order_release);
  return true;
}

void TraceCloseMutex() {
  platform::CloseNamedMutex(g_state.mutex);
  g_state.mutex = nullptr;
}

int32_t TraceReset() noexcept {
  trace_detail::g_traceSetting.store(0, std::memory_order_release);
  g_state.fileName.reset();
  TraceCloseMutex();
  return 1;
}
