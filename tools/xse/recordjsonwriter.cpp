#include "tools/xse/recordjsonwriter.h"

#include <cstdint>
#include <type_traits>

#include "tools/xse/jsontext.h"
#include "tools/xse/positiondegrees.h"
#include "xsereader/recordfields.h"

namespace xsetool {
namespace {

constexpr size_t kFlushThreshold = 1 << 16;

// Writes a record's fields as members of the open object; a time as "sec"
// and "usec", an array the record does not carry not at all.
class JsonFields {
 public:
  explicit JsonFields(JsonBuilder& json) : json_(json) {}

  void Time(std::string_view, const quor::timeval& time) {
    json_.Number("sec", time.tv_sec).Number("usec", time.tv_usec);
  }
  template <typename T>
  void Scalar(std::string_view name, T value) {
    json_.Number(name, value);
  }
  void Text(std::string_view name, std::string_view text) { json_.String(name, text); }
  void Items(std::string_view, uint32_t count) { items_ = count; }
  template <typename T>
  void Array(std::string_view name, const T* values) {
    if (values == nullptr) return;
    json_.BeginArray(name);
    for (uint32_t i = 0; i < items_; ++i) json_.Number({}, values[i]);
    json_.EndArray();
  }

 private:
  JsonBuilder& json_;
  uint32_t items_ = 0;
};

}  // namespace

template <typename Record>
void RecordJsonWriter::OnRecord(quor::RecordKind kind, const Record& record) {
  JsonBuilder json(line_);
  json.BeginObject();
  if (withFile_) json.String("file", file_);
  json.String("kind", quor::RecordKindName(kind));
  JsonFields fields(json);
  quor::VisitFields(record, fields);
  if constexpr (std::is_same_v<Record, quor::NavigationRec>)
    if (degrees_) VisitDegrees(record, fields);
  json.EndObject();
  line_ += '\n';
  if (line_.size() >= kFlushThreshold) Flush();
}

bool RecordJsonWriter::Flush() {
  if (!line_.empty()) {
    if (std::fwrite(line_.data(), 1, line_.size(), out_) != line_.size()) writeFailed_ = true;
    line_.clear();
  }
  if (std::fflush(out_) != 0) writeFailed_ = true;
  return !writeFailed_;
}

// Other files reach these through the visitor's methods.
template void RecordJsonWriter::OnRecord(quor::RecordKind, const quor::timeval&);
template void RecordJsonWriter::OnRecord(quor::RecordKind, const quor::ParameterRec&);
template void RecordJsonWriter::OnRecord(quor::RecordKind, const quor::NavigationRec&);
template void RecordJsonWriter::OnRecord(quor::RecordKind, const quor::GyroRec&);
template void RecordJsonWriter::OnRecord(quor::RecordKind, const quor::MotionRec&);
template void RecordJsonWriter::OnRecord(quor::RecordKind, const quor::MultibeamRec&);
template void RecordJsonWriter::OnRecord(quor::RecordKind, const quor::SidescanRec&);

}  // namespace xsetool
