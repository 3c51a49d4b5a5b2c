// Ini objects: one file and one section each, made on the stack for a read
// or a write and dropped at once; they hold no file open.
//
// String reads land in one module-wide value buffer of 255 characters
// (terminator included), shared by every ini object and unguarded: a read's
// result stays valid until the next read on any thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Status codes of the ini layer, with the values callers know them by.
inline constexpr int32_t S_OK = 0;
inline constexpr int32_t E_INVALIDARG = static_cast<int32_t>(0x80070057u);
inline constexpr int32_t E_FAIL = static_cast<int32_t>(0x80004005u);

inline constexpr std::size_t kIniValueBufferSize = 255;

class ZGenericIni {
 public:
  // Null arguments stand for empty strings. An empty path means "no file":
  // every read and write then fails.
  ZGenericIni(const char* path, const char* section);
  ZGenericIni(const ZGenericIni&) = default;
  ZGenericIni& operator=(const ZGenericIni&) = default;
  virtual ~ZGenericIni();

  // Reads `key` of `section` (not necessarily the object's) into the value
  // buffer, `defaultText` when the file, section or key is missing; values
  // are cut to 254 characters. Returns the number of characters placed.
  // With an empty path the buffer is emptied and 0 returned.
  std::size_t ReadString(const char* section, const char* key, const char* defaultText);

  // The value buffer.
  static const char* Value();

  // Reads a leading decimal integer from the value buffer, as a "%d" scan
  // does ("2abc" gives 2, leading blanks and a sign are allowed). Leaves `out`
  // untouched and returns false when there is none. A number beyond the
  // range of int32 gives the nearest limit.
  static bool ParseInt(int32_t& out);

  // Writes `key` of the object's section. True whenever the object has a
  // path, also when the file could not be written (nobody is told); false
  // when the path is empty.
  bool WriteString(const char* key, const char* value);
  // Writes `value` as "%d" through WriteString; same result.
  bool WriteInt(const char* key, int32_t value);

  // Reads the trace settings of the object's section: the file name from key
  // "TRACEFILE" (default "<section>.log") and the level from key "TRACE"
  // (0 when missing or not a number). `level` is set to 0 first. Returns
  // S_OK, E_INVALIDARG when the path is empty, E_FAIL when the file name
  // read is empty (`traceFile` then stays as it was).
  int32_t ReadTraceSettings(std::string& traceFile, int32_t& level);

  const std::string& path() const { return path_; }
  const std::string& section() const { return section_; }

 private:
  std::string path_;
  std::string section_;
};

// An ini object on the installation's main settings file.
class ZKeelonIni : public ZGenericIni {
 public:
  explicit ZKeelonIni(const char* section);
};

// The installation's main settings file "<root>/Setup/Keelon.ini", or with
// `defaultsFile` its defaults file "<root>/Setup/Keelon.default.ini", where the
// root is the value of QUORHOME taken whole as one folder. When QUORHOME is
// unset or empty the root is "c:\qUoR\kEeLoN" and `status` (if given) is set
// to E_FAIL, otherwise to S_OK.
std::string KeelonIniPath(bool defaultsFile, int32_t* status = nullptr);
