#include "libsys/moduletrace.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "libsys/ztracelogfile.h"
#include "platform/modulepath.h"
#include "platform/processinfo.h"

namespace {

#ifdef NDEBUG
constexpr char kBuildKind[] = "(Release)";
#else
constexpr char kBuildKind[] = "(Debug)";
#endif

// Anything defined here lies inside the module this library is linked
// into; its address tells the loader which module that is.
const char g_moduleAnchor = 0;

const char* OrNotAvailable(const char* text) { return text != nullptr ? text : "(n/a)"; }

}  // namespace

ZTraceLogFile::ZTraceLogFile(const char* section) : section_(section != nullptr ? section : "") {
  TraceReset();
}

ZTraceLogFile::~ZTraceLogFile() { TraceReset(); }

int32_t ZTraceLogFile::Init(int32_t level, const char* modulePath, const char* buildText,
                            int32_t perProcess) {
  TraceReset();
  if (level < 1) {
    ZKeelonIni settings(section_.c_str());
    if (settings.ReadTraceSettings(name_, level) != S_OK) return 0;
    if (level < 1) return 0;
  }
  if (level > 2) return 0;
  // An explicit start skips the settings; it still needs a file name.
  if (name_.empty()) name_ = section_ + ".log";
  if (perProcess != 0) name_ = PerProcessTraceName(name_, platform::CurrentProcessId());
  if (!TraceStart(level, name_.c_str())) return 0;
  return TraceWriteAttached(modulePath, buildText);
}

void ZTraceLogFile::Shutdown(const char* modulePath, bool storeLevel) {
  TraceCloseMutex();
  if (storeLevel) {
    ZKeelonIni settings(section_.c_str());
    settings.WriteInt("trace", TraceSetting());
  }
  TraceWriteDetached(modulePath);
  TraceReset();
}

int32_t FormatBuildStamp(const char* date, const char* time, const char* kind, char* buffer,
                         int32_t size) {
  char text[128];
  const int length = std::snprintf(text, sizeof text, "%s  %s  %s", OrNotAvailable(date),
                                   OrNotAvailable(time), OrNotAvailable(kind));
  // A text that only just fits would lose its terminating zero: refused too,
  // so a caller can always use the buffer as a string.
  if (buffer == nullptr || length < 0 || size <= length) return E_OUTOFMEMORY;
  std::memcpy(buffer, text, static_cast<size_t>(length));
  std::memset(buffer + length, 0, static_cast<size_t>(size - length));
  return S_OK;
}

int32_t GetBuildStamp(char* buffer, int32_t size) {
  return FormatBuildStamp(__DATE__, __TIME__, kBuildKind, buffer, size);
}

int32_t TraceWriteAttached(const char* modulePath, const char* buildText) {
  if (!TraceIsActive()) return 0;
  QUORLOG(2, "%s module attached with trace %d - Build: '%s'", OrNotAvailable(modulePath),
          TraceSetting(), OrNotAvailable(buildText));
  return 1;
}

int32_t TraceWriteDetached(const char* modulePath) {
  if (!TraceIsActive()) return 0;
  QUORLOG(2, "%s module detached", OrNotAvailable(modulePath));
  return 1;
}

std::string PerProcessTraceName(std::string_view name, uint32_t processId) {
  // Only the file name is rewritten: a dot in a folder name must not cut the
  // path short and move the trace into another folder.
  const size_t slash = name.find_last_of("/\\");
  const size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
  std::string folder(name.substr(0, nameStart));
  std::string stem(name.substr(nameStart));
  const size_t log = stem.find(".log");
  if (log != std::string::npos && log > 0) stem.erase(log, 4);
  const size_t dot = stem.find('.');
  if (dot != std::string::npos && dot > 0) stem.erase(dot);
  return folder + stem + "." + std::to_string(processId) + ".log";
}

bool PathAsksForTrace(std::string_view modulePath) {
  std::string lower(modulePath);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  const size_t found = lower.find("keelon");
  return found != std::string::npos && found > 0;
}

std::string OwnModulePath() {
  const std::optional<platform::ModuleInfo> module = platform::ModuleContaining(&g_moduleAnchor);
  return module ? module->path : std::string();
}

int32_t SetupModuleTrace(ZTraceLogFile& traceLogFile, const int32_t* level) {
  // The whole path is used, however long: nothing here needs a fixed buffer.
  const std::string modulePath = OwnModulePath();
  if (!PathAsksForTrace(modulePath)) return 0;
  char buildText[kBuildStampSize] = {};
  GetBuildStamp(buildText, kBuildStampSize);
  if (level != nullptr && traceLogFile.Init(*level, modulePath.c_str(), buildText, 1) != 0) {
    return 0;
  }
  traceLogFile.Shutdown(modulePath.c_str(), false);
  return 0;
}
