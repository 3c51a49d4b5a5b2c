#include "libsys/zkeelonini.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "platform/environment.h"
#include "platform/privateprofile.h"

namespace {

char g_value[kIniValueBufferSize] = {};

std::string OrEmpty(const char* text) {
  return text != nullptr ? std::string(text) : std::string();
}

}  // namespace

std::string KeelonIniPath(bool defaultsFile, int32_t* status) {
  std::string root = platform::GetEnvironmentVariable("QUORHOME").value_or("");
  int32_t result = S_OK;
  if (root.empty()) {
    // The installation's customary root, odd letter case included. On this
    // platform it is a relative name; the resulting file is simply missing
    // and reads give their defaults.
    root = "c:\\qUoR\\kEeLoN";
    result = E_FAIL;
  }
  if (status != nullptr) *status = result;
  return root + (defaultsFile ? "/Setup/Keelon.default.ini" : "/Setup/Keelon.ini");
}

ZGenericIni::ZGenericIni(const char* path, const char* section)
    : path_(OrEmpty(path)), section_(OrEmpty(section)) {}

ZGenericIni::~ZGenericIni() = default;

std::size_t ZGenericIni::ReadString(const char* section, const char* key, const char* defaultText) {
  std::string value;
  if (!path_.empty()) {
    value = platform::ReadProfileString(path_, OrEmpty(section), OrEmpty(key), OrEmpty(defaultText),
                                        kIniValueBufferSize);
  }
  const std::size_t length = std::min(value.size(), kIniValueBufferSize - 1);
  std::memcpy(g_value, value.data(), length);
  g_value[length] = '\0';
  return length;
}

const char* ZGenericIni::Value() { return g_value; }

bool ZGenericIni::ParseInt(int32_t& out) {
  char* end = nullptr;
  const int savedErrno = errno;
  const long parsed = std::strtol(g_value, &end, 10);
  errno = savedErrno;  // an out-of-range number is clamped, not an error
  if (end == g_value) return false;
  constexpr long kMin = std::numeric_limits<int32_t>::min();
  constexpr long kMax = std::numeric_limits<int32_t>::max();
  out = static_cast<int32_t>(std::clamp(parsed, kMin, kMax));
  return true;
}

bool ZGenericIni::WriteString(const char* key, const char* value) {
  if (path_.empty()) return false;
  // A failed write is not reported; the caller only learns whether there is
  // a file to write to.
  platform::WriteProfileString(path_, section_, OrEmpty(key), OrEmpty(value));
  return true;
}

bool ZGenericIni::WriteInt(const char* key, int32_t value) {
  char text[16];
  std::snprintf(text, sizeof text, "%d", value);
  return WriteString(key, text);
}

int32_t ZGenericIni::ReadTraceSettings(std::string& traceFile, int32_t& level) {
  level = 0;
  if (path_.empty()) return E_INVALIDARG;
  const std::string defaultName = section_ + ".log";
  if (ReadString(section_.c_str(), "TRACEFILE", defaultName.c_str()) == 0) return E_FAIL;
  traceFile = Value();
  // The default text is reused for the level; it normally parses as nothing,
  // which leaves the level at 0.
  if (ReadString(section_.c_str(), "TRACE", defaultName.c_str()) > 0) ParseInt(level);
  return S_OK;
}

ZKeelonIni::ZKeelonIni(const char* section) : ZGenericIni(KeelonIniPath(false).c_str(), section) {}
