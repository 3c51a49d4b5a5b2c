// Parsing of option values for the tool's commands. Each parser takes the
// whole text or nothing: no leading or trailing spaces, no partial numbers.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace xsetool {

// Decimal digits only.
std::optional<uint64_t> ParseUnsigned(std::string_view text);
// Decimal digits with an optional binary unit: K, M, G, T (also KiB, MiB,
// GiB, TiB), case ignored; "1G" is 1073741824.
std::optional<uint64_t> ParseByteSize(std::string_view text);
// A finite decimal number above zero.
std::optional<double> ParsePositive(std::string_view text);
// Seconds above zero and up to a million, as whole milliseconds.
std::optional<uint64_t> ParseSecondsAsMilliseconds(std::string_view text);
// An optional minus sign and decimal digits that fit an int32.
std::optional<int32_t> ParseInt32(std::string_view text);
// A finite decimal number, with an optional minus sign.
std::optional<double> ParseFinite(std::string_view text);

}  // namespace xsetool
