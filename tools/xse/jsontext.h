// JSON text for every output of the tool: numbers in their shortest exact
// form, strings with the escapes the record stream uses, and one builder for
// objects and arrays.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace xsetool {

// Shortest text that reads back to the same float; NaN and infinities as null.
void AppendJsonNumber(std::string& out, float value);
// Shortest text that reads back to the same double; NaN and infinities as null.
void AppendJsonNumber(std::string& out, double value);
void AppendJsonNumber(std::string& out, int64_t value);
void AppendJsonNumber(std::string& out, uint64_t value);
// A quoted string; well-formed UTF-8 passes through, '"' and '\' are
// escaped, control characters and bytes that are not UTF-8 go as \u00XX.
void AppendJsonString(std::string& out, std::string_view text);

// Appends one JSON value (an object or an array with whatever they hold) to
// a buffer that may already hold earlier text. Separators come by
// themselves; `key` names a member inside an object and is left empty inside
// an array. Opening and closing must pair up: the builder does not check.
class JsonBuilder {
 public:
  explicit JsonBuilder(std::string& out) : out_(out), start_(out.size()) {}

  JsonBuilder& BeginObject(std::string_view key = {}) { return Open(key, '{'); }
  JsonBuilder& EndObject() { return Close('}'); }
  JsonBuilder& BeginArray(std::string_view key = {}) { return Open(key, '['); }
  JsonBuilder& EndArray() { return Close(']'); }

  // Integers of any width and sign, float and double (each in its own
  // shortest form; NaN and infinities as null).
  template <typename T>
  JsonBuilder& Number(std::string_view key, T value) {
    Key(key);
    if constexpr (std::is_floating_point_v<T>) {
      AppendJsonNumber(out_, value);
    } else if constexpr (std::is_signed_v<T>) {
      AppendJsonNumber(out_, static_cast<int64_t>(value));
    } else {
      AppendJsonNumber(out_, static_cast<uint64_t>(value));
    }
    return *this;
  }
  JsonBuilder& String(std::string_view key, std::string_view text) {
    Key(key);
    AppendJsonString(out_, text);
    return *this;
  }
  JsonBuilder& Null(std::string_view key) {
    Key(key);
    out_ += "null";
    return *this;
  }

 private:
  void Key(std::string_view key);
  JsonBuilder& Open(std::string_view key, char bracket) {
    Key(key);
    out_ += bracket;
    return *this;
  }
  JsonBuilder& Close(char bracket) {
    out_ += bracket;
    return *this;
  }

  std::string& out_;
  size_t start_;
};

}  // namespace xsetool
