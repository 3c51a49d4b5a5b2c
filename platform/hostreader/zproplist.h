// The host's property list: what a properties object shows in the host's
// option dialog, in the order it was added.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/sharedapi.h"

class XSE_SHARED_API ZPropList {
 public:
  struct Entry {
    std::string text;
    int32_t value = 0;  // -1 marks a section heading
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  // Appends an entry; a null text counts as empty.
  void Add(const char* text, int32_t value) {
    entries_.push_back({text != nullptr ? text : "", value});
  }

  const std::vector<Entry>& entries() const { return entries_; }

 private:
  std::vector<Entry> entries_;
};
