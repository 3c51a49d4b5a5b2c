#include "tools/xse/csvwriter.h"

#include <charconv>
#include <cstdint>
#include <type_traits>
#include <variant>
#include <vector>

#include "tools/xse/positiondegrees.h"
#include "tools/xse/utctime.h"
#include "xsereader/recordfields.h"

namespace xsetool {
namespace {

constexpr size_t kFlushThreshold = 1 << 16;

// Floats print "nan" and "inf" as spreadsheet and analysis tools read them.
template <typename T>
void AppendValue(std::string& out, T value) {
  char text[64];
  std::to_chars_result result{};
  if constexpr (std::is_floating_point_v<T>) {
    result = std::to_chars(text, text + sizeof text, value);
  } else if constexpr (std::is_signed_v<T>) {
    result = std::to_chars(text, text + sizeof text, static_cast<int64_t>(value));
  } else {
    result = std::to_chars(text, text + sizeof text, static_cast<uint64_t>(value));
  }
  out.append(text, result.ptr);
}

// Quoted only when it must be: a comma, a quote or a line break inside.
void AppendText(std::string& out, std::string_view text) {
  if (text.find_first_of(",\"\r\n") == std::string_view::npos) {
    out += text;
    return;
  }
  out += '"';
  for (char c : text) {
    if (c == '"') out += '"';
    out += c;
  }
  out += '"';
}

// The header row: one column per field, the item index among them.
class HeaderColumns {
 public:
  explicit HeaderColumns(std::string& out) : out_(out) {}
  void Time(std::string_view name, const quor::timeval&) { Column(name); }
  template <typename T>
  void Scalar(std::string_view name, T) {
    Column(name);
  }
  void Text(std::string_view name, std::string_view) { Column(name); }
  void Items(std::string_view index, uint32_t) { Column(index); }
  template <typename T>
  void Array(std::string_view name, const T*) {
    Column(name);
  }

 private:
  void Column(std::string_view name) {
    if (!out_.empty()) out_ += ',';
    out_ += name;
  }
  std::string& out_;
};

// The cells of one record: its scalars once (the row prefix), and for
// records with items the arrays to spread over one row per item.
class RowCells {
 public:
  using Values = std::variant<const float*, const uint8_t*>;

  void Time(std::string_view, const quor::timeval& time) {
    Separate();
    prefix += FormatUtc(time);
  }
  template <typename T>
  void Scalar(std::string_view, T value) {
    Separate();
    AppendValue(prefix, value);
  }
  void Text(std::string_view, std::string_view text) {
    Separate();
    AppendText(prefix, text);
  }
  void Items(std::string_view, uint32_t count) {
    hasItems = true;
    items = count;
  }
  template <typename T>
  void Array(std::string_view, const T* values) {
    arrays.emplace_back(values);
  }

  std::string prefix;
  bool hasItems = false;
  uint32_t items = 0;
  std::vector<Values> arrays;

 private:
  void Separate() {
    if (!first_) prefix += ',';
    first_ = false;
  }
  bool first_ = true;
};

// A record's fields, then with `degrees` a position's latitude and
// longitude in degrees.
template <typename Record, typename Visitor>
void VisitColumns(const Record& record, Visitor& visitor, bool degrees) {
  quor::VisitFields(record, visitor);
  if constexpr (std::is_same_v<Record, quor::NavigationRec>)
    if (degrees) VisitDegrees(record, visitor);
}

template <typename Record>
std::string HeaderOf(const Record& record, bool degrees) {
  std::string header;
  HeaderColumns columns(header);
  VisitColumns(record, columns, degrees);
  return header;
}

}  // namespace

std::string CsvHeader(quor::RecordKind kind, bool degrees) {
  return quor::WithRecordType(
      kind, [degrees](auto type) { return HeaderOf(typename decltype(type)::type{}, degrees); });
}

CsvRecordWriter::CsvRecordWriter(std::FILE* out, quor::RecordKind kind, bool withFile, bool degrees)
    : out_(out), kind_(kind), withFile_(withFile), degrees_(degrees) {
  if (withFile_) buffer_ += "file,";
  buffer_ += CsvHeader(kind, degrees);
  buffer_ += '\n';
}

void CsvRecordWriter::SetFile(std::string_view name) {
  if (!withFile_) return;
  fileCell_.clear();
  AppendText(fileCell_, name);
  fileCell_ += ',';
}

bool CsvRecordWriter::Flush() {
  if (!buffer_.empty()) {
    if (std::fwrite(buffer_.data(), 1, buffer_.size(), out_) != buffer_.size()) writeFailed_ = true;
    buffer_.clear();
  }
  if (std::fflush(out_) != 0) writeFailed_ = true;
  return !writeFailed_;
}

// One row per record, or one per item: the record's cells, the item's
// index, then the item's value in each array (empty where the record does
// not carry that array).
template <typename Record>
void CsvRecordWriter::OnRecord(quor::RecordKind kind, const Record& record) {
  if (kind != kind_) return;
  RowCells cells;
  VisitColumns(record, cells, degrees_);
  if (!cells.hasItems) {
    buffer_ += fileCell_;
    buffer_ += cells.prefix;
    buffer_ += '\n';
  }
  for (uint32_t item = 0; cells.hasItems && item < cells.items; ++item) {
    buffer_ += fileCell_;
    buffer_ += cells.prefix;
    buffer_ += ',';
    AppendValue(buffer_, item);
    for (const RowCells::Values& values : cells.arrays) {
      buffer_ += ',';
      std::visit(
          [this, item](const auto* array) {
            if (array != nullptr) AppendValue(buffer_, array[item]);
          },
          values);
    }
    buffer_ += '\n';
  }
  if (buffer_.size() >= kFlushThreshold) Flush();
}

// Other files reach these through the visitor's methods.
template void CsvRecordWriter::OnRecord(quor::RecordKind, const quor::timeval&);
template void CsvRecordWriter::OnRecord(quor::RecordKind, const quor::ParameterRec&);
template void CsvRecordWriter::OnRecord(quor::RecordKind, const quor::NavigationRec&);
template void CsvRecordWriter::OnRecord(quor::RecordKind, const quor::GyroRec&);
template void CsvRecordWriter::OnRecord(quor::RecordKind, const quor::MotionRec&);
template void CsvRecordWriter::OnRecord(quor::RecordKind, const quor::MultibeamRec&);
template void CsvRecordWriter::OnRecord(quor::RecordKind, const quor::SidescanRec&);

}  // namespace xsetool
