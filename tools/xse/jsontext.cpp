#include "tools/xse/jsontext.h"

#include <charconv>
#include <cmath>

namespace xsetool {
namespace {

template <typename T>
void AppendNumber(std::string& out, T value) {
  char text[64];
  const auto result = std::to_chars(text, text + sizeof text, value);
  out.append(text, result.ptr);
}

template <typename Float>
void AppendFloat(std::string& out, Float value) {
  if (!std::isfinite(value)) {
    out += "null";
    return;
  }
  AppendNumber(out, value);
}

}  // namespace

void AppendJsonNumber(std::string& out, float value) { AppendFloat(out, value); }
void AppendJsonNumber(std::string& out, double value) { AppendFloat(out, value); }
void AppendJsonNumber(std::string& out, int64_t value) { AppendNumber(out, value); }
void AppendJsonNumber(std::string& out, uint64_t value) { AppendNumber(out, value); }

void AppendJsonString(std::string& out, std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  out += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte == '"' || byte == '\\') {
      out += '\\';
      out += c;
    } else if (byte < 0x20 || byte > 0x7E) {
      out += "\\u00";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    } else {
      out += c;
    }
  }
  out += '"';
}

void JsonBuilder::Key(std::string_view key) {
  if (out_.size() > start_ && out_.back() != '{' && out_.back() != '[') out_ += ',';
  if (!key.empty()) {
    AppendJsonString(out_, key);
    out_ += ':';
  }
}

}  // namespace xsetool
