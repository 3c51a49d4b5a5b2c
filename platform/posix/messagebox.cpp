// Without a window system a box is a line on standard error.
#include <cstdio>

#include "platform/systemmessagebox.h"

namespace platform {

void ShowSystemMessageBox(const std::string& caption, const std::string& text) {
  // One call, so boxes of different threads do not interleave on the stream.
  std::fprintf(stderr, "%s: %s\n", caption.c_str(), text.c_str());
  std::fflush(stderr);
}

}  // namespace platform
