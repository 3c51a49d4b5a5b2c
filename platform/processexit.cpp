#include "platform/processexit.h"

#include <cstdio>
#include <cstdlib>

namespace platform {

void ExitProcess(int status) {
  std::fflush(nullptr);
  // Linux keeps the low byte of the status; Windows would keep all 32 bits.
  std::_Exit(status & 0xFF);
}

void ExitProcessNow(int status) { std::_Exit(status & 0xFF); }

}  // namespace platform
