#include "platform/systemlocaltime.h"

namespace platform {

bool BreakDownLocalTime(std::time_t when, std::tm& broken) {
  return ::localtime_r(&when, &broken) != nullptr;
}

}  // namespace platform
