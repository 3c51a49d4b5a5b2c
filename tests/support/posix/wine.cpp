#include "support/wine.h"

namespace xsetest {

bool RunningUnderWine() { return false; }

}  // namespace xsetest
