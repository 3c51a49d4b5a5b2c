#include "bench/summarytable.h"

#include <cstdio>

namespace xsebench {

void PrintSummaryRow(const std::string& measure, const std::string& value,
                     const std::string& target) {
  std::printf("%-46s %12s   %s\n", measure.c_str(), value.c_str(), target.c_str());
  std::fflush(stdout);
}

std::string Mebibytes(double bytes) {
  char text[32];
  if (bytes >= 1024.0 * 1024 * 1024) {
    std::snprintf(text, sizeof text, "%.2f GiB", bytes / (1024.0 * 1024 * 1024));
  } else {
    std::snprintf(text, sizeof text, "%.1f MiB", bytes / (1024.0 * 1024));
  }
  return text;
}

}  // namespace xsebench
