#include "platform/stdiofile.h"

#include "platform/windows/widestring.h"

namespace platform {

std::FILE* OpenStdioFile(const std::string& path, const char* mode) {
  return ::_wfopen(WidenUtf8(path).c_str(), WidenUtf8(mode).c_str());
}

}  // namespace platform
