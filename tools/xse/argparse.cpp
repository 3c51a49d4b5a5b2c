#include "tools/xse/argparse.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace xsetool {

std::optional<uint64_t> ParseUnsigned(std::string_view text) {
  if (text.empty() || !std::isdigit(static_cast<unsigned char>(text.front()))) return std::nullopt;
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<uint64_t> ParseByteSize(std::string_view text) {
  size_t digits = 0;
  while (digits < text.size() && std::isdigit(static_cast<unsigned char>(text[digits]))) ++digits;
  const auto number = ParseUnsigned(text.substr(0, digits));
  if (!number) return std::nullopt;
  std::string unit;
  for (char c : text.substr(digits))
    unit += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  int shift = 0;
  if (unit.empty()) {
    shift = 0;
  } else if (unit == "K" || unit == "KIB") {
    shift = 10;
  } else if (unit == "M" || unit == "MIB") {
    shift = 20;
  } else if (unit == "G" || unit == "GIB") {
    shift = 30;
  } else if (unit == "T" || unit == "TIB") {
    shift = 40;
  } else {
    return std::nullopt;
  }
  if (*number > (std::numeric_limits<uint64_t>::max() >> shift)) return std::nullopt;
  return *number << shift;
}

std::optional<double> ParsePositive(std::string_view text) {
  if (text.empty() ||
      !(std::isdigit(static_cast<unsigned char>(text.front())) || text.front() == '.'))
    return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  if (!std::isfinite(value) || value <= 0) return std::nullopt;
  return value;
}

std::optional<int32_t> ParseInt32(std::string_view text) {
  const size_t sign = !text.empty() && text.front() == '-' ? 1 : 0;
  if (text.size() == sign || !std::isdigit(static_cast<unsigned char>(text[sign])))
    return std::nullopt;
  int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

std::optional<double> ParseFinite(std::string_view text) {
  const std::string_view digits = !text.empty() && text.front() == '-' ? text.substr(1) : text;
  if (digits.empty() ||
      !(std::isdigit(static_cast<unsigned char>(digits.front())) || digits.front() == '.'))
    return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
    return std::nullopt;
  return value;
}

std::optional<uint64_t> ParseSecondsAsMilliseconds(std::string_view text) {
  const auto seconds = ParsePositive(text);
  if (!seconds || *seconds > 1e6) return std::nullopt;
  return static_cast<uint64_t>(*seconds * 1000.0);
}

}  // namespace xsetool
