// RecordJsonWriter: a survey target that writes one JSON object per call it
// receives (the record stream of `xse dump`), copying the record while the
// call runs. Lines collect in a buffer that the owner flushes.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "xsereader/recordkind.h"

namespace xsetool {

class RecordJsonWriter final : public quor::RecordVisitor<RecordJsonWriter> {
 public:
  // Lines are written to `out` whenever the buffer passes a threshold and
  // on Flush. A write error is remembered, not thrown.
  explicit RecordJsonWriter(std::FILE* out) : out_(out) {}

  // Writes out what is buffered; false when any write so far failed.
  bool Flush();
  // Every object from now on starts with "file": `name`.
  void SetFile(std::string_view name) {
    file_ = name;
    withFile_ = true;
  }
  // Position objects end with "latitude" and "longitude" in degrees.
  void AddDegrees() { degrees_ = true; }

 private:
  friend RecordVisitor;
  template <typename Record>
  void OnRecord(quor::RecordKind kind, const Record& record);

  std::FILE* out_;
  std::string line_;
  std::string file_;
  bool withFile_ = false;
  bool degrees_ = false;
  bool writeFailed_ = false;
};

}  // namespace xsetool
