// The clock in local time, broken down for display.
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>

namespace platform {

struct LocalTime {
  int32_t hour = 0;
  int32_t minute = 0;
  int32_t second = 0;
  // The classic C-library text of the time without its line feed, in English
  // whatever the locale: "Www Mmm dd hh:mm:ss yyyy", day padded with a blank,
  // such as "Tue Feb  3 09:05:07 2004".
  char text[32] = {};
};

// Local time now, or nothing when the system cannot convert the clock.
std::optional<LocalTime> LocalTimeNow();

// Local time of `when` (seconds since 1970-01-01 UTC).
std::optional<LocalTime> LocalTimeAt(std::time_t when);

}  // namespace platform
