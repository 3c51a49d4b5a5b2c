#include "platform/terminal.h"

#include <unistd.h>

namespace platform {

bool IsTerminal(StandardStream stream) {
  int descriptor = STDERR_FILENO;
  switch (stream) {
    case StandardStream::kInput:
      descriptor = STDIN_FILENO;
      break;
    case StandardStream::kOutput:
      descriptor = STDOUT_FILENO;
      break;
    case StandardStream::kError:
      break;
  }
  return ::isatty(descriptor) == 1;
}

}  // namespace platform
