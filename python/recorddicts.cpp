#include "python/recorddicts.h"

#include <pybind11/numpy.h>

#include "xsereader/recordfields.h"

namespace py = pybind11;

namespace xsepython {
namespace {

// Fills a dict from a record's field description, as the JSON lines writer
// fills a line: a time as "sec" and "usec", an array the record does not
// carry not at all.
class DictFields {
 public:
  explicit DictFields(py::dict& dict) : dict_(dict) {}

  void Time(std::string_view, const quor::timeval& time) {
    dict_["sec"] = time.tv_sec;
    dict_["usec"] = time.tv_usec;
  }
  template <typename T>
  void Scalar(std::string_view name, T value) {
    dict_[Key(name)] = value;
  }
  // Names are 8-bit text; `xse dump` writes each byte as the code point of
  // the same value, which is what Latin-1 decoding gives.
  void Text(std::string_view name, std::string_view text) {
    dict_[Key(name)] = py::reinterpret_steal<py::str>(
        PyUnicode_DecodeLatin1(text.data(), static_cast<py::ssize_t>(text.size()), nullptr));
  }
  void Items(std::string_view, uint32_t count) { items_ = count; }
  template <typename T>
  void Array(std::string_view name, const T* values) {
    if (values != nullptr)
      dict_[Key(name)] = py::array_t<T>(static_cast<py::ssize_t>(items_), values);
  }

 private:
  static py::str Key(std::string_view name) { return {name.data(), name.size()}; }

  py::dict& dict_;
  uint32_t items_ = 0;
};

template <typename Record>
py::dict Dict(const char* kind, const Record& record) {
  py::dict dict;
  dict["kind"] = kind;
  DictFields fields(dict);
  quor::VisitFields(record, fields);
  return dict;
}

}  // namespace

py::dict ParameterDict(const quor::ParameterRec& record) { return Dict("parameter", record); }

py::dict RecordDict(const xsereader::Record& record) {
  const char* kind = xsereader::RecordKindName(record.kind).data();
  if (record.startTime) return Dict(kind, *record.startTime);
  if (record.parameter) return Dict(kind, *record.parameter);
  if (record.position) return Dict(kind, *record.position);
  if (record.gyro) return Dict(kind, *record.gyro);
  if (record.motion) return Dict(kind, *record.motion);
  if (record.multibeam) return Dict(kind, *record.multibeam);
  return Dict(kind, *record.sidescan);
}

}  // namespace xsepython
