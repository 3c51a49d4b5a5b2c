#include "platform/programarguments.h"

namespace platform {

std::vector<std::string> ProgramArguments(int argc, char** argv) {
  return std::vector<std::string>(argv, argv + argc);
}

// Standard streams pass bytes unchanged here anyway.
void UseBinaryStandardStreams() {}

}  // namespace platform
