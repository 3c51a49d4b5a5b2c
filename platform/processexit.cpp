#include "platform/processexit.h"

#include <cstdio>
#include <cstdlib>

namespace platform {

void ExitProcess(int status) {
  std::fflush(nullptr);
  std::_Exit(status);
}

}  // namespace platform
