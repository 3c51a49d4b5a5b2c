#include "platform/systemfacts.h"

namespace platformtest {

const char* const kMathLibrary = "libm.so.6";
const char* const kNullDevice = "/dev/null";

}  // namespace platformtest
