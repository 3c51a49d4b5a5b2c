#include "platform/framework/sockettraits.h"

namespace platform {

bool ResetsAreReported() { return true; }

}  // namespace platform
