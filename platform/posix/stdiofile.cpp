#include "platform/stdiofile.h"

namespace platform {

std::FILE* OpenStdioFile(const std::string& path, const char* mode) {
  return std::fopen(path.c_str(), mode);
}

}  // namespace platform
