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

// Bytes of the well-formed UTF-8 sequence of two or more bytes starting at
// `at`, or 1 for an ASCII byte or anything malformed (overlong, surrogate,
// beyond U+10FFFF, cut short).
size_t Utf8SequenceLength(std::string_view text, size_t at) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[at + i]); };
  const unsigned lead = byte(0);
  size_t length = 0;
  unsigned low = 0x80, high = 0xBF;  // range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return 1;
  }
  if (text.size() - at < length || byte(1) < low || byte(1) > high) return 1;
  for (size_t i = 2; i < length; ++i)
    if ((byte(i) & 0xC0) != 0x80) return 1;
  return length;
}

}  // namespace

void AppendJsonNumber(std::string& out, float value) { AppendFloat(out, value); }
void AppendJsonNumber(std::string& out, double value) { AppendFloat(out, value); }
void AppendJsonNumber(std::string& out, int64_t value) { AppendNumber(out, value); }
void AppendJsonNumber(std::string& out, uint64_t value) { AppendNumber(out, value); }

void AppendJsonString(std::string& out, std::string_view text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  out += '"';
  for (size_t at = 0; at < text.size();) {
    const auto byte = static_cast<unsigned char>(text[at]);
    if (const size_t length = Utf8SequenceLength(text, at); length > 1) {
      out.append(text, at, length);
      at += length;
      continue;
    }
    if (byte == '"' || byte == '\\') {
      out += '\\';
      out += text[at];
    } else if (byte < 0x20 || byte >= 0x7F) {
      // Control characters, and bytes that are not UTF-8, keep their value.
      out += "\\u00";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
    } else {
      out += text[at];
    }
    ++at;
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
