// The socket layer's tables of error texts: each part of the system that
// reports socket errors has its own wording, looked up the same way.
#pragma once

#include <cstdint>
#include <span>

struct SocketErrorText {
  uint32_t code;
  const char* text;
};

// The text for `code` in `table`; null when the table has none.
inline const char* FindSocketErrorText(std::span<const SocketErrorText> table, uint32_t code) {
  for (const SocketErrorText& entry : table) {
    if (entry.code == code) return entry.text;
  }
  return nullptr;
}
