// Inside the platform layer: the system's conversion of a clock time into
// local time, which the portable LocalTimeAt formats.
#pragma once

#include <ctime>

namespace platform {

// `when` broken down in local time; false when the system cannot convert it.
bool BreakDownLocalTime(std::time_t when, std::tm& broken);

}  // namespace platform
