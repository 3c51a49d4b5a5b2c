// The rows of the benchmark summary: what was measured, the value, and the
// target it is held to. scripts/bench prints them under one header.
#pragma once

#include <string>

namespace xsebench {

void PrintSummaryRow(const std::string& measure, const std::string& value,
                     const std::string& target);
std::string Mebibytes(double bytes);

}  // namespace xsebench
