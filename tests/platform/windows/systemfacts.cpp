#include "platform/systemfacts.h"

namespace platformtest {

const char* const kMathLibrary = "msvcrt.dll";
const char* const kNullDevice = "NUL";

}  // namespace platformtest
