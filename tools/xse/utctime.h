// Times of records as ISO 8601 text in UTC. Pure calendar arithmetic: no
// time zone, no system call, and any int32 time works (before 1970 too).
#pragma once

#include <string>

#include "xsereader/surveyrecords.h"

namespace xsetool {

// "2024-05-01T08:00:00.250000Z": always six digits of microseconds, so
// texts sort like times. Microseconds beyond a second are carried over.
std::string FormatUtc(const quor::timeval& time);

// Seconds between two times, `to` minus `from`.
double SecondsBetween(const quor::timeval& from, const quor::timeval& to);

}  // namespace xsetool
