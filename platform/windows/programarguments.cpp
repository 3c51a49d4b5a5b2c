#include "platform/programarguments.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"
// After the Windows headers, which it builds on.
#include <shellapi.h>

namespace platform {

std::vector<std::string> ProgramArguments(int argc, char** argv) {
  int count = 0;
  wchar_t** wide = ::CommandLineToArgvW(::GetCommandLineW(), &count);
  // The 8-bit arguments when the command line cannot be split (no memory).
  if (wide == nullptr) return std::vector<std::string>(argv, argv + argc);
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) arguments.push_back(NarrowToUtf8(wide[i]));
  ::LocalFree(wide);
  return arguments;
}

void UseBinaryStandardStreams() {
  std::fflush(stdout);
  std::fflush(stderr);
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
}

}  // namespace platform
