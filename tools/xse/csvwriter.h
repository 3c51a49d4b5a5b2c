// CsvRecordWriter: a survey target that writes the records of one kind as a
// CSV table: a header row, then one row per record, or one row per beam or
// sample for multibeam and sidescan pings. The columns are the record's
// fields in the order JSON lines give them, a time as one cell; per-item
// tables add the item index ("beam", "sample") before the per-item values.
// Times are ISO 8601 UTC; numbers the shortest text that reads back to the
// same value; a per-beam value the ping does not carry is an empty cell.
// Rows collect in a buffer that the owner flushes.
#pragma once

#include <cstdio>
#include <string>
#include <string_view>

#include "xsereader/recordkind.h"

namespace xsetool {

// The header row of the table of `kind`, without the line end; with
// `degrees`, a position table ends with "latitude" and "longitude".
std::string CsvHeader(quor::RecordKind kind, bool degrees = false);

class CsvRecordWriter final : public quor::RecordVisitor<CsvRecordWriter> {
 public:
  // The header row is written first; records of other kinds are ignored.
  // With `withFile` every row starts with a "file" column, set by SetFile;
  // with `degrees` position rows end with latitude and longitude in degrees.
  CsvRecordWriter(std::FILE* out, quor::RecordKind kind, bool withFile = false,
                  bool degrees = false);
  void SetFile(std::string_view name);

  // Writes out what is buffered; false when any write so far failed.
  bool Flush();

 private:
  friend RecordVisitor;
  template <typename Record>
  void OnRecord(quor::RecordKind kind, const Record& record);

  std::FILE* out_;
  quor::RecordKind kind_;
  std::string buffer_;
  std::string fileCell_;  // the file column with its comma, or nothing
  bool withFile_;
  bool degrees_;
  bool writeFailed_ = false;
};

}  // namespace xsetool
