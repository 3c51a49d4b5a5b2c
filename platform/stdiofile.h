// Opening a C stdio stream on a file named in UTF-8.
#pragma once

#include <cstdio>
#include <string>

namespace platform {

// std::fopen for a UTF-8 `path` (fopen itself reads the name in the
// system's 8-bit code page on Windows). `mode` as for fopen. Null on
// failure, with errno set as fopen sets it.
std::FILE* OpenStdioFile(const std::string& path, const char* mode);

}  // namespace platform
