// The error log: failures a user or a service engineer must see. Each entry
// is a block of text appended to "<QUORHOME>/log/error" and, unless it is a
// plain log message, shown in a modal message box; a fatal entry ends the
// process. Always on, no settings, no lock.
//
//   ERRORLOG(kErrorLogError, kErrorLogMessages[kErrUnixSocketFunction], "socket");
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// Severities, the first argument of ErrorLogWrite.
inline constexpr int32_t kErrorLogMessage = 0;  // file only
inline constexpr int32_t kErrorLogWarning = 1;  // file and a message box
inline constexpr int32_t kErrorLogError = 2;    // file and a message box
inline constexpr int32_t kErrorLogFatal = 3;    // file, two boxes, then the process ends with -1

// Standard messages shared by the support library, as formats for
// ErrorLogWrite, indexed by ErrorLogMessageNumber. The table ends with an
// empty entry.
enum ErrorLogMessageNumber : int32_t {
  kErrNoMessage = 0,
  kErrNoMemory = 1,
  kErrOpenFile = 2,
  kErrTooManySetupErrors = 3,
  kErrFatalProgramError = 4,
  kErrPixmapFromFile = 5,
  kErrSharedMemoryFunction = 6,
  kErrOpenSerialPort = 7,
  kErrIllegalPortSetting = 8,
  kErrSemaphoreFunction = 9,
  kErrSignalFunction = 10,
  kErrUnixSocketFunction = 11,
  kErrInstrumentSyntax = 12,
};

inline constexpr std::array<const char*, 14> kErrorLogMessages = {
    "",
    "No memory from malloc()",
    "Could not open file: %s",
    "Too many setup file errors - terminating",
    "Fatal program error",
    "Can't create pixmap from file: %s",
    "Shared memory function error: %s",
    "Can't open serial port %s",
    "Illegal port setting %s = %d - uses default %d",
    "Semaphore function error: %s",
    "Signal function error: %s",
    "Unix domain socket function error: %s",
    "Syntax error in %s for instrument %s",
    "",
};

// Buffer sizes, terminator included; longer texts are cut to fit.
inline constexpr std::size_t kErrorLogTextSize = 256;   // formatted message
inline constexpr std::size_t kErrorLogEntrySize = 512;  // composed entry
inline constexpr std::size_t kErrorLogPathSize = 128;   // log file path
inline constexpr std::size_t kErrorLogUserSize = 20;    // user name

// Stores the source location of the entry about to be written. Call it
// immediately before ErrorLogWrite (ERRORLOG does both). The location is kept
// per thread, so writers on different threads never swap locations.
void ErrorLogSetSource(const char* file, int32_t line);

// Formats the message (printf rules), appends the entry to the log file and
// reacts to the severity: boxes from severity 1 on; severity 3 never returns.
// errno is cleared on return.
void ErrorLogWrite(int32_t severity, const char* format, ...) __attribute__((format(printf, 2, 3)));

// Builds the entry for `text` from the calling thread's source location and
// saved errno, the time now and the user name, cut to `size - 1` characters.
void ErrorLogCompose(char* buffer, std::size_t size, int32_t severity, const char* text);

// The word for a severity, padded to 11 characters ("?ERROR?    " for an
// unknown one).
const char* ErrorLogSeverityWord(int32_t severity);

// "<QUORHOME>/log/error", or "/Temp/quor/log/error" when QUORHOME is unset
// or empty; cut to kErrorLogPathSize - 1 characters.
std::string ErrorLogPath();

// Everything an entry shows; ErrorLogCompose fills it from the live state.
struct ErrorLogFields {
  int32_t severity = 0;
  std::string_view text;
  int32_t systemError = 0;  // errno when the entry was written; 0: no error line
  const char* sourceFile = nullptr;
  int32_t sourceLine = 0;
  std::string_view date;  // "Www Mmm dd hh:mm:ss yyyy", without line feed
  std::string_view user;  // cut to kErrorLogUserSize - 1 characters
};

// The entry's text for `fields`, cut to kErrorLogEntrySize - 1 characters.
std::string ErrorLogFormatEntry(const ErrorLogFields& fields);

#define ERRORLOG(severity, ...) \
  (ErrorLogSetSource(__FILE__, __LINE__), ErrorLogWrite((severity), __VA_ARGS__))
