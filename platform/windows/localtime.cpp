#include "platform/systemlocaltime.h"

namespace platform {

// The runtime converts times from 1970 to the year 3000; others fail.
bool BreakDownLocalTime(std::time_t when, std::tm& broken) {
  return ::localtime_s(&broken, &when) == 0;
}

}  // namespace platform
