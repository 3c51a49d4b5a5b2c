#include "platform/localtime.h"

#include <cstdio>

#include "platform/systemlocaltime.h"

namespace platform {

std::optional<LocalTime> LocalTimeAt(std::time_t when) {
  std::tm broken{};
  if (!BreakDownLocalTime(when, broken)) return std::nullopt;
  if (broken.tm_wday < 0 || broken.tm_wday > 6 || broken.tm_mon < 0 || broken.tm_mon > 11) {
    return std::nullopt;
  }
  // Spelled out rather than taken from strftime, whose names follow the locale.
  static constexpr const char* kWeekdays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  LocalTime result;
  result.hour = broken.tm_hour;
  result.minute = broken.tm_min;
  result.second = broken.tm_sec;
  // Any int year (11 characters at most) fits the buffer.
  std::snprintf(result.text, sizeof result.text, "%s %s%3d %02d:%02d:%02d %lld",
                kWeekdays[broken.tm_wday], kMonths[broken.tm_mon], broken.tm_mday, broken.tm_hour,
                broken.tm_min, broken.tm_sec, static_cast<long long>(broken.tm_year) + 1900);
  return result;
}

std::optional<LocalTime> LocalTimeNow() { return LocalTimeAt(std::time(nullptr)); }

}  // namespace platform
