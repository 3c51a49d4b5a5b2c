#include "platform/terminal.h"

#include "platform/windows/win32.h"

namespace platform {

// A console answers GetConsoleMode; a file, a pipe or the null device does
// not (isatty would take the null device for a terminal).
bool IsTerminal(StandardStream stream) {
  DWORD which = STD_ERROR_HANDLE;
  switch (stream) {
    case StandardStream::kInput:
      which = STD_INPUT_HANDLE;
      break;
    case StandardStream::kOutput:
      which = STD_OUTPUT_HANDLE;
      break;
    case StandardStream::kError:
      break;
  }
  const HANDLE handle = ::GetStdHandle(which);
  DWORD mode = 0;
  return handle != nullptr && handle != INVALID_HANDLE_VALUE &&
         ::GetConsoleMode(handle, &mode) != 0;
}

}  // namespace platform
