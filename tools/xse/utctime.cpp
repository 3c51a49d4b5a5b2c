#include "tools/xse/utctime.h"

#include <cstdint>
#include <cstdio>

namespace xsetool {
namespace {

struct CivilDate {
  int64_t year;
  unsigned month;  // 1 to 12
  unsigned day;    // 1 to 31
};

// Days since 1970-01-01 to a proleptic Gregorian date, counting in 400-year
// eras that start on 1 March so leap days fall at the end of a year.
CivilDate CivilFromDays(int64_t days) {
  days += 719468;  // days from 0000-03-01 to 1970-01-01
  const int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const auto dayOfEra = static_cast<uint64_t>(days - era * 146097);
  const uint64_t yearOfEra =
      (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const uint64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const uint64_t shiftedMonth = (5 * dayOfYear + 2) / 153;  // 0 is March
  const auto day = static_cast<unsigned>(dayOfYear - (153 * shiftedMonth + 2) / 5 + 1);
  const auto month = static_cast<unsigned>(shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9);
  const int64_t year = static_cast<int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0);
  return {year, month, day};
}

int64_t FloorDiv(int64_t value, int64_t divisor) {
  const int64_t quotient = value / divisor;
  return (value % divisor != 0 && (value < 0) != (divisor < 0)) ? quotient - 1 : quotient;
}

}  // namespace

std::string FormatUtc(const quor::timeval& time) {
  const int64_t totalMicros = int64_t{time.tv_sec} * 1000000 + time.tv_usec;
  const int64_t seconds = FloorDiv(totalMicros, 1000000);
  const int64_t micros = totalMicros - seconds * 1000000;
  const int64_t days = FloorDiv(seconds, 86400);
  const int64_t secondOfDay = seconds - days * 86400;
  const CivilDate date = CivilFromDays(days);
  char text[64];
  std::snprintf(text, sizeof text, "%04lld-%02u-%02uT%02lld:%02lld:%02lld.%06lldZ",
                static_cast<long long>(date.year), date.month, date.day,
                static_cast<long long>(secondOfDay / 3600),
                static_cast<long long>(secondOfDay / 60 % 60),
                static_cast<long long>(secondOfDay % 60), static_cast<long long>(micros));
  return text;
}

double SecondsBetween(const quor::timeval& from, const quor::timeval& to) {
  const int64_t micros =
      (int64_t{to.tv_sec} - from.tv_sec) * 1000000 + (int64_t{to.tv_usec} - from.tv_usec);
  return static_cast<double>(micros) / 1e6;
}

}  // namespace xsetool
