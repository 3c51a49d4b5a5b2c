#include "platform/errortext.h"

#include <cstring>

namespace platform {

// strerrordesc_np (GNU) gives the untranslated text and null for numbers the
// library does not know, which is what both queries need.
std::string ErrorText(int error) {
  const char* text = ::strerrordesc_np(error);
  return text != nullptr ? std::string(text) : "Unknown error " + std::to_string(error);
}

int KnownErrorTextCount() {
  // The library has no constant for it any more; error numbers are small, so
  // looking for the highest known one below a generous limit is enough.
  static const int count = [] {
    constexpr int kLimit = 4096;
    int highest = 0;
    for (int error = 1; error < kLimit; ++error) {
      if (::strerrordesc_np(error) != nullptr) highest = error;
    }
    return highest + 1;
  }();
  return count;
}

}  // namespace platform
