// Appending JSON values to a text buffer: numbers in their shortest exact
// form, strings with the escapes the record stream uses.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace xsetool {

// Shortest text that reads back to the same float; NaN and infinities as null.
void AppendJsonNumber(std::string& out, float value);
// Shortest text that reads back to the same double; NaN and infinities as null.
void AppendJsonNumber(std::string& out, double value);
void AppendJsonNumber(std::string& out, int64_t value);
void AppendJsonNumber(std::string& out, uint64_t value);
// A quoted string; '"' and '\' escaped, control characters and bytes above
// 0x7E as \u00XX.
void AppendJsonString(std::string& out, std::string_view text);

}  // namespace xsetool
