#include "libsys/errorlog.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "platform/environment.h"
#include "platform/errortext.h"
#include "platform/localtime.h"
#include "platform/messagebox.h"
#include "platform/processexit.h"
#include "platform/stdiofile.h"
#include "platform/username.h"

namespace {

// Thread-local rather than module-wide: the pair set by ErrorLogSetSource
// must reach the ErrorLogWrite that follows it on the same thread, whatever
// other threads log meanwhile.
thread_local const char* t_sourceFile = nullptr;
thread_local int32_t t_sourceLine = 0;
thread_local int32_t t_savedSystemError = 0;

// Printed in each entry's header; nothing in this module names the program.
const char* const kProgramName = "";

void AppendFormat(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));

void AppendFormat(std::string& out, const char* format, ...) {
  char piece[kErrorLogEntrySize];
  va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(piece, sizeof piece, format, arguments);
  va_end(arguments);
  out += piece;
}

std::string CutTo(std::string text, std::size_t bufferSize) {
  if (text.size() > bufferSize - 1) text.resize(bufferSize - 1);
  return text;
}

}  // namespace

void ErrorLogSetSource(const char* file, int32_t line) {
  t_sourceFile = file;
  t_sourceLine = line;
}

const char* ErrorLogSeverityWord(int32_t severity) {
  switch (severity) {
    case kErrorLogMessage:
      return "LOG MESSAGE";
    case kErrorLogWarning:
      return "WARNING    ";
    case kErrorLogError:
      return "ERROR      ";
    case kErrorLogFatal:
      return "FATAL ERROR";
    default:
      return "?ERROR?    ";
  }
}

std::string ErrorLogFormatEntry(const ErrorLogFields& fields) {
  std::string entry;
  AppendFormat(entry, "##QUOR - %s: %s\n", ErrorLogSeverityWord(fields.severity), kProgramName);
  // Each piece is at most one buffer long; the whole is cut at the end.
  const std::string text(fields.text.substr(0, kErrorLogTextSize - 1));
  AppendFormat(entry, "Error message: %s\n", text.c_str());
  if (fields.systemError != 0) {
    AppendFormat(entry, "Win32 err.%-4d: ", fields.systemError);
    if (fields.systemError > 0 && fields.systemError < platform::KnownErrorTextCount()) {
      AppendFormat(entry, "%s\n", platform::ErrorText(fields.systemError).c_str());
    } else {
      entry += "Unknown\n";
    }
  }
  // Without a location the runtime would print "(null)"; say the same
  // without relying on it.
  AppendFormat(entry, "Source file  : \"%s\" at line %d\n",
               fields.sourceFile != nullptr ? fields.sourceFile : "(null)", fields.sourceLine);
  const std::string date(fields.date);
  AppendFormat(entry, "Date         : %s\n", date.c_str());
  const std::string user(fields.user.substr(0, kErrorLogUserSize - 1));
  AppendFormat(entry, "User         : %s\n", user.c_str());
  return CutTo(std::move(entry), kErrorLogEntrySize);
}

void ErrorLogCompose(char* buffer, std::size_t size, int32_t severity, const char* text) {
  if (buffer == nullptr || size == 0) return;
  const auto now = platform::LocalTimeNow();
  // A name that does not fit is cut; one the system cannot tell is empty.
  const std::string user = platform::CurrentUserName().value_or("");
  ErrorLogFields fields;
  fields.severity = severity;
  fields.text = text != nullptr ? text : "";
  fields.systemError = t_savedSystemError;
  fields.sourceFile = t_sourceFile;
  fields.sourceLine = t_sourceLine;
  fields.date = now ? now->text : "";
  fields.user = user;
  const std::string entry = CutTo(ErrorLogFormatEntry(fields), size);
  std::memcpy(buffer, entry.c_str(), entry.size() + 1);
}

std::string ErrorLogPath() {
  // An empty value counts as unset: it would put the log at the top of the
  // file system.
  std::string root = platform::GetEnvironmentVariable("QUORHOME").value_or("");
  if (root.empty()) root = "/Temp/quor";
  // A value too long for the buffer is cut like the other texts; the entry
  // then lands wherever the cut path points, or nowhere.
  return CutTo(root + "/log/error", kErrorLogPathSize);
}

void ErrorLogWrite(int32_t severity, const char* format, ...) {
  // Saved first: formatting must not be able to change what is reported.
  t_savedSystemError = errno;

  char text[kErrorLogTextSize] = {};
  if (format != nullptr) {
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
  }

  char entry[kErrorLogEntrySize];
  ErrorLogCompose(entry, sizeof entry, severity, text);

  const std::string path = ErrorLogPath();
  if (std::FILE* file = platform::OpenStdioFile(path, "a")) {
    std::fputs(entry, file);
    std::fputc('\n', file);
    std::fclose(file);
  }

  if (severity != kErrorLogMessage) {
    platform::ShowMessageBox("Error", entry);
    if (severity == kErrorLogFatal) {
      platform::ShowMessageBox("Error", "Program terminated...");
      platform::ExitProcess(-1);
    }
  }
  errno = 0;
}
