// The Python module `xsereader`: read() gives a survey as numpy arrays,
// records() yields each record as a dict with the keys of `xse dump`.
#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "interpreters/surveyreaderlib/recordfilter.h"
#include "interpreters/surveyreaderlib/soundings/grid.h"
#include "python/recorddicts.h"
#include "python/surveyarrays.h"
#include "xsereader/soundings.h"
#include "xsereader/xsereader.h"

namespace py = pybind11;

namespace xsepython {
namespace {

xsereader::Heads HeadsArgument(const std::string& head) {
  const auto heads = xsereader::ParseHeads(head);
  if (!heads) throw py::value_error("unknown head '" + head + "'");
  return *heads;
}

void AddKind(const std::string& name, quor::RecordKindSet& wanted) {
  const auto kind = quor::ParseRecordKind(name);
  if (!kind) throw py::value_error("unknown record kind '" + name + "'");
  wanted.set(static_cast<size_t>(*kind));
}

// Which kinds read() gathers: all of them for None, otherwise those named,
// in a list or in one string ("position" or, as xse dump --kind takes them,
// "position,gyro").
quor::RecordKindSet KindsArgument(const py::object& kinds) {
  if (kinds.is_none()) return quor::RecordKindSet().set();
  const auto notNames = [] { return py::type_error("kinds must be a name or a list of names"); };
  quor::RecordKindSet wanted;
  if (py::isinstance<py::str>(kinds)) {
    const auto names = py::cast<std::string>(kinds);
    for (size_t start = 0; start <= names.size();) {
      const size_t comma = std::min(names.find(',', start), names.size());
      AddKind(names.substr(start, comma - start), wanted);
      start = comma + 1;
    }
    return wanted;
  }
  if (!py::isinstance<py::iterable>(kinds)) throw notNames();
  for (const auto& item : kinds) {
    if (!py::isinstance<py::str>(item)) throw notNames();
    AddKind(py::cast<std::string>(item), wanted);
  }
  return wanted;
}

// Reads every frame of `reader` into `target` (the caller has let go of the
// interpreter); the frames read.
uint64_t ReadFrames(xsereader::SurveyReader& reader, quor::ISurveyTarget& target) {
  uint64_t frames = 0;
  while (reader.ReadFrame(target)) ++frames;
  return frames;
}

// A file that opened but held no frame is not XSE data: ValueError, with the
// text xse prints.
void RequireFrames(uint64_t frames, const std::string& path) {
  if (frames == 0) throw py::value_error(path + ": no XSE data found");
}

// Raises OSError with the reason `xse` prints; a reason that is the system's
// text for an errno value becomes that errno, so a missing file raises
// FileNotFoundError as Python's own open() does.
[[noreturn]] void RaiseOpenError(const std::string& path, const std::string& reason) {
  for (const int code : {ENOENT, EACCES, EISDIR, ENOTDIR, EPERM, ENAMETOOLONG, ELOOP}) {
    if (reason == std::strerror(code)) {
      PyErr_SetObject(PyExc_OSError, py::make_tuple(code, reason, path).ptr());
      throw py::error_already_set();
    }
  }
  PyErr_SetString(PyExc_OSError, ("cannot open " + path + ": " + reason).c_str());
  throw py::error_already_set();
}

std::unique_ptr<xsereader::SurveyReader> Open(const std::string& path, xsereader::Heads heads) {
  std::string error;
  auto reader = xsereader::SurveyReader::OpenFile(path, heads, &error);
  if (!reader) RaiseOpenError(path, error);
  return reader;
}

std::string PathArgument(const py::object& path) {
  return py::str(py::module_::import("os").attr("fspath")(path));
}

// Builds a structured dtype field by field at the struct's own offsets.
class DtypeBuilder {
 public:
  template <typename T>
  DtypeBuilder& Field(const char* name, size_t offset) {
    names_.append(name);
    formats_.append(py::dtype::of<T>());
    offsets_.append(offset);
    return *this;
  }
  template <typename Row>
  DtypeBuilder& Header() {
    const size_t at = offsetof(Row, header);
    return Field<double>("time", at + offsetof(RowHeader, time))
        .Field<int32_t>("valid", at + offsetof(RowHeader, valid))
        .Field<uint32_t>("fieldMask", at + offsetof(RowHeader, fieldMask))
        .Field<int32_t>("relTime", at + offsetof(RowHeader, relTime))
        .Field<int32_t>("sensorIndex", at + offsetof(RowHeader, sensorIndex));
  }
  py::dtype Build(size_t itemSize) const {
    py::dict layout;
    layout["names"] = names_;
    layout["formats"] = formats_;
    layout["offsets"] = offsets_;
    layout["itemsize"] = itemSize;
    return py::dtype::from_args(layout);
  }

 private:
  py::list names_, formats_, offsets_;
};

// Hands a vector's buffer to numpy without copying it.
template <typename T>
py::array Adopt(std::vector<T>&& values, const py::dtype& dtype, std::vector<py::ssize_t> shape) {
  auto* owner = new std::vector<T>(std::move(values));
  py::capsule free(owner, [](void* p) { delete static_cast<std::vector<T>*>(p); });
  return py::array(dtype, std::move(shape), owner->data(), free);
}

// The same for a PagedArray, as a pings x width table or as rows.
template <typename T>
py::array Adopt(PagedArray<T>&& values, const py::dtype& dtype, std::vector<py::ssize_t> shape) {
  auto* block = new platform::PageBuffer::Block(values.Release());
  py::capsule free(block, [](void* p) {
    auto* owned = static_cast<platform::PageBuffer::Block*>(p);
    platform::PageBuffer::Free(*owned);
    delete owned;
  });
  return py::array(dtype, std::move(shape), static_cast<const T*>(block->data), free);
}

template <typename T>
py::array Adopt(PagedArray<T>&& values, std::vector<py::ssize_t> shape) {
  return Adopt(std::move(values), py::dtype::of<T>(), std::move(shape));
}

template <typename Row>
py::array Rows(std::vector<Row>&& rows, const py::dtype& dtype) {
  const auto count = static_cast<py::ssize_t>(rows.size());
  return Adopt(std::move(rows), dtype, {count});
}

// pings x widest, `fill` where a ping has fewer values. Usually every ping
// has as many, and the runs are the table already.
template <typename T>
py::array Table(Runs<T>&& runs, T fill) {
  const auto pings = static_cast<py::ssize_t>(runs.counts.size());
  const auto width = static_cast<py::ssize_t>(runs.widest);
  if (runs.Rectangular()) return Adopt(std::move(runs.values), {pings, width});
  py::array_t<T> table({pings, width});
  T* out = table.mutable_data();
  std::fill(out, out + pings * width, fill);
  const T* in = runs.values.data();
  for (py::ssize_t ping = 0; ping < pings; ++ping) {
    const uint32_t count = runs.counts[static_cast<size_t>(ping)];
    std::copy(in, in + count, out + ping * width);
    in += count;
  }
  platform::PageBuffer::Free(runs.values.Release());
  return table;
}

// Per-ping columns as views into one structured array.
py::dict Columns(const py::array& rows) {
  py::dict columns;
  for (const auto& name : rows.dtype().attr("names")) columns[name] = rows[name];
  return columns;
}

py::dict Read(const py::object& pathObject, const std::string& head, const py::object& kinds) {
  const std::string path = PathArgument(pathObject);
  const xsereader::Heads heads = HeadsArgument(head);
  const quor::RecordKindSet wanted = KindsArgument(kinds);
  auto reader = Open(path, heads);
  SurveyArrays arrays;
  uint64_t framesRead = 0;
  {
    py::gil_scoped_release unlocked;
    quor::RecordFilter filter(arrays, wanted);  // no arrays for the kinds not wanted
    framesRead = ReadFrames(*reader, filter);
  }
  RequireFrames(framesRead, path);
  py::dict survey;
  const auto frames = static_cast<py::ssize_t>(arrays.startTimes.size());
  survey["startTimes"] = Adopt(std::move(arrays.startTimes), py::dtype::of<double>(), {frames});

  survey["positions"] =
      Rows(std::move(arrays.positions),
           DtypeBuilder()
               .Header<PositionRow>()
               .Field<double>("projectedFirst", offsetof(PositionRow, projectedFirst))
               .Field<double>("projectedSecond", offsetof(PositionRow, projectedSecond))
               .Field<double>("geographicFirst", offsetof(PositionRow, geographicFirst))
               .Field<double>("geographicSecond", offsetof(PositionRow, geographicSecond))
               .Field<double>("thirdCoordinate", offsetof(PositionRow, thirdCoordinate))
               .Build(sizeof(PositionRow)));
  survey["headings"] =
      Rows(std::move(arrays.headings), DtypeBuilder()
                                           .Header<HeadingRow>()
                                           .Field<double>("heading", offsetof(HeadingRow, heading))
                                           .Build(sizeof(HeadingRow)));
  survey["attitude"] =
      Rows(std::move(arrays.attitude), DtypeBuilder()
                                           .Header<AttitudeRow>()
                                           .Field<double>("roll", offsetof(AttitudeRow, roll))
                                           .Field<double>("pitch", offsetof(AttitudeRow, pitch))
                                           .Field<double>("heave", offsetof(AttitudeRow, heave))
                                           .Build(sizeof(AttitudeRow)));

  py::dict multibeam = Columns(Rows(
      std::move(arrays.pings), DtypeBuilder()
                                   .Header<PingRow>()
                                   .Field<int32_t>("pingNumber", offsetof(PingRow, pingNumber))
                                   .Field<double>("soundVelocity", offsetof(PingRow, soundVelocity))
                                   .Field<uint32_t>("beamCount", offsetof(PingRow, beamCount))
                                   .Build(sizeof(PingRow))));
  const float nan = std::numeric_limits<float>::quiet_NaN();
  for (int field = 0; field < kBeamFloatFields; ++field) {
    multibeam[SurveyArrays::BeamFieldName(field)] = Table(std::move(arrays.beams[field]), nan);
  }
  multibeam["quality"] = Table(std::move(arrays.quality), uint8_t{0});
  survey["multibeam"] = multibeam;

  py::dict sidescan =
      Columns(Rows(std::move(arrays.sidescanPings),
                   DtypeBuilder()
                       .Header<SidescanRow>()
                       .Field<int32_t>("pingNumber", offsetof(SidescanRow, pingNumber))
                       .Field<float>("slantRange", offsetof(SidescanRow, slantRange))
                       .Field<float>("soundVelocity", offsetof(SidescanRow, soundVelocity))
                       .Field<float>("sampleInterval", offsetof(SidescanRow, sampleInterval))
                       .Field<uint32_t>("sampleCount", offsetof(SidescanRow, sampleCount))
                       .Build(sizeof(SidescanRow))));
  sidescan["samples"] = Table(std::move(arrays.samples), nan);
  survey["sidescan"] = sidescan;

  py::list parameters;
  for (const auto& parameter : arrays.parameters) parameters.append(ParameterDict(parameter));
  survey["parameters"] = parameters;
  // Keyed by the kind names; the first keys stay as aliases for a release.
  for (const auto& [name, old] : {std::pair{"startTime", "startTimes"},
                                  {"parameter", "parameters"},
                                  {"position", "positions"},
                                  {"gyro", "headings"},
                                  {"motion", "attitude"}})
    survey[name] = survey[old];
  return survey;
}

// soundings(): one row per georeferenced beam.
struct SoundingRow {
  double time;
  int32_t pingNumber;
  uint32_t beam;
  double latitude;
  double longitude;
  float depth;
  int16_t quality;
};

class SoundingRows final : public soundings::ISoundingSink {
 public:
  void HandleSounding(const soundings::Sounding& s) override {
    const SoundingRow row{s.time.tv_sec + s.time.tv_usec * 1e-6,
                          s.pingNumber,
                          s.beam,
                          s.latitude,
                          s.longitude,
                          s.depth,
                          s.quality};
    rows.Append(&row, 1, row);
  }
  // Pages that grow without copying: millions of rows.
  PagedArray<SoundingRow> rows;
};

py::array Soundings(const py::object& pathObject, const std::string& head) {
  const std::string path = PathArgument(pathObject);
  auto reader = Open(path, HeadsArgument(head));
  SoundingRows sink;
  uint64_t frames = 0;
  {
    py::gil_scoped_release unlocked;
    soundings::SoundingTarget target(sink);
    frames = ReadFrames(*reader, target);
    target.Finish();
  }
  RequireFrames(frames, path);
  const auto count = static_cast<py::ssize_t>(sink.rows.size());
  return Adopt(std::move(sink.rows),
               DtypeBuilder()
                   .Field<double>("time", offsetof(SoundingRow, time))
                   .Field<int32_t>("pingNumber", offsetof(SoundingRow, pingNumber))
                   .Field<uint32_t>("beam", offsetof(SoundingRow, beam))
                   .Field<double>("latitude", offsetof(SoundingRow, latitude))
                   .Field<double>("longitude", offsetof(SoundingRow, longitude))
                   .Field<float>("depth", offsetof(SoundingRow, depth))
                   .Field<int16_t>("quality", offsetof(SoundingRow, quality))
                   .Build(sizeof(SoundingRow)),
               {count});
}

// grid_cells(): one file's soundings binned into UTM cells, as arrays, all
// filled in one pass over the tiles (most of a tile may be untouched).
py::dict CellsDict(const soundings::PartialGrid& grid) {
  const auto size = static_cast<py::ssize_t>(grid.cellCount());
  py::array_t<int64_t> columns(size), rows(size), sums(size), counts(size);
  py::array_t<double> squares(size);
  py::array_t<float> minimum(size), maximum(size);
  struct {
    int64_t *column, *row, *sum, *count;
    double* square;
    float *minimum, *maximum;
  } out{columns.mutable_data(), rows.mutable_data(),    sums.mutable_data(),
        counts.mutable_data(),  squares.mutable_data(), minimum.mutable_data(),
        maximum.mutable_data()};
  grid.ForEachCell([&out](int32_t column, int32_t row, const soundings::GridCell& cell) {
    *out.column++ = column;
    *out.row++ = row;
    *out.sum++ = cell.depthSum;
    *out.count++ = cell.count;
    *out.square++ = cell.squareSum;
    *out.minimum++ = cell.minimum;
    *out.maximum++ = cell.maximum;
  });
  py::dict cells;
  cells["columns"] = columns;
  cells["rows"] = rows;
  cells["sums"] = sums;
  cells["counts"] = counts;
  cells["squares"] = squares;
  cells["minimum"] = minimum;
  cells["maximum"] = maximum;
  return cells;
}

py::dict GridCells(const py::object& pathObject, double cell, int zoneNumber, bool south,
                   const std::string& head) {
  if (!(cell >= 0.01)) throw py::value_error("cell must be 0.01 m or more");
  if (zoneNumber < 1 || zoneNumber > 60) throw py::value_error("zone must be 1 to 60");
  const std::string path = PathArgument(pathObject);
  auto reader = Open(path, HeadsArgument(head));
  soundings::PartialGrid grid;
  {
    py::gil_scoped_release unlocked;
    soundings::GridBinner binner(cell, soundings::UtmZone{zoneNumber, south}, grid);
    soundings::SoundingTarget target(binner);
    reader->ReadAll(target);
    target.Finish();
  }
  return CellsDict(grid);
}

// combine_cells(): two partial grids' cells as one, exact in sums, counts,
// minima and maxima; binned again into tiles rather than sorted, so the
// work follows the cells, whatever their order.
template <typename T>
py::array_t<T, py::array::c_style> CellArray(const py::dict& cells, const char* name) {
  return cells[name].cast<py::array_t<T, py::array::c_style>>();
}

void AddCells(const py::dict& cells, soundings::PartialGrid& grid) {
  const auto columns = CellArray<int64_t>(cells, "columns"),
             rows = CellArray<int64_t>(cells, "rows"), sums = CellArray<int64_t>(cells, "sums"),
             counts = CellArray<int64_t>(cells, "counts");
  const auto squares = CellArray<double>(cells, "squares");
  const auto minimum = CellArray<float>(cells, "minimum"),
             maximum = CellArray<float>(cells, "maximum");
  const py::ssize_t size = columns.size();
  for (const py::ssize_t other :
       {rows.size(), sums.size(), counts.size(), squares.size(), minimum.size(), maximum.size()}) {
    if (other != size) throw py::value_error("cell arrays of different lengths");
  }
  const auto fits = [](int64_t index) { return index >= INT32_MIN && index <= INT32_MAX; };
  for (py::ssize_t i = 0; i < size; ++i) {
    if (!fits(columns.data()[i]) || !fits(rows.data()[i]))
      throw py::value_error("cell column or row out of range");
    grid.AddCell(static_cast<int32_t>(columns.data()[i]), static_cast<int32_t>(rows.data()[i]),
                 {sums.data()[i], counts.data()[i], squares.data()[i], minimum.data()[i],
                  maximum.data()[i]});
  }
}

py::dict CombineCells(const py::dict& first, const py::dict& second) {
  soundings::PartialGrid grid;
  AddCells(first, grid);
  AddCells(second, grid);
  return CellsDict(grid);
}

// records(): an iterator over one file's records of the wanted kinds.
class RecordIterator {
 public:
  RecordIterator(std::unique_ptr<xsereader::SurveyReader> reader, quor::RecordKindSet kinds,
                 std::string path)
      : reader_(std::move(reader)), kinds_(kinds), path_(std::move(path)) {}
  py::dict Next() {
    const xsereader::Record* record = reader_ ? reader_->Next() : nullptr;
    // Every frame starts with its time: no record at all means no frame.
    if (record != nullptr) seen_ = true;
    while (record != nullptr && !kinds_.test(static_cast<size_t>(record->kind)))
      record = reader_->Next();
    if (record == nullptr) {
      const bool ended = reader_ != nullptr;
      reader_.reset();
      if (ended) RequireFrames(seen_ ? 1 : 0, path_);
      throw py::stop_iteration();
    }
    return RecordDict(*record);
  }

 private:
  std::unique_ptr<xsereader::SurveyReader> reader_;
  quor::RecordKindSet kinds_;
  std::string path_;
  bool seen_ = false;
};

}  // namespace
}  // namespace xsepython

PYBIND11_MODULE(_xsereader, module) {
  using namespace xsepython;
  module.doc() = "Reads multibeam survey data in the XSE format.";
  module.attr("__version__") = xsereader::Version();

  module.def("read", &Read, py::arg("path"), py::arg("head") = "all", py::arg("kinds") = py::none(),
             R"(Reads a whole XSE file into numpy arrays.

Returns a dict keyed by record kind: "startTime" (frame times), "position",
"gyro" and "motion" (structured arrays, one row per record), "multibeam" and
"sidescan" (dicts of per-ping columns and pings x beams or pings x samples
arrays, NaN where a ping has fewer values or does not carry them; quality
0), and "parameter" (a list of dicts); the keys "startTimes", "positions",
"headings", "attitude" and "parameters" are the same values under their
former names, kept for one release. Times are float64 seconds since 1970.
head is "all", "first" or "second". kinds, a record kind or a list of them
as `xse dump --kind` names them ("startTime", "parameter", "position",
"gyro", "motion", "multibeam", "sidescan"), gathers only those; the others
come back empty. Raises OSError when the file cannot be opened, ValueError
("NAME: no XSE data found") when it holds no XSE frame and ValueError for
an unknown head or kind; damaged data is skipped as `xse`
skips it.)");

  module.def("soundings", &Soundings, py::arg("path"), py::arg("head") = "all",
             R"(Georeferences every beam of every ping of an XSE file, as `xse soundings`.

Returns a structured array, one row per sounding: time (float64 seconds
since 1970), pingNumber, beam, latitude and longitude (degrees, WGS84),
depth (as recorded) and quality (-1 where the ping carries none). Pings
outside the navigation, beams of quality 0 or without depth or distances,
and positions not in WGS84 are left out. Raises as read() does.)");

  module.def("grid_cells", &GridCells, py::arg("path"), py::arg("cell"), py::arg("zone"),
             py::arg("south") = false, py::arg("head") = "all",
             R"(Bins the soundings of an XSE file (as soundings() makes them) into square
cells of `cell` metres in UTM zone `zone` (1 to 60; south for the southern
hemisphere), aligned to multiples of the cell size. Returns a dict of
equal-length arrays, one entry per cell touched: columns and rows (int64,
easting and northing divided by the cell, rounded down), sums (int64, depth
sums in tenths of a millimetre), counts (int64), squares (float64, sums of
squared depths), minimum and maximum (float32). xsereader.grid combines
them; `xse grid` bins alike. Raises as read() does.)");

  module.def("combine_cells", &CombineCells, py::arg("first"), py::arg("second"),
             R"(The cells of two dicts as grid_cells() returns them, combined into one
such dict: sums, counts and squares added, minima and maxima kept, per
column and row. Raises ValueError for arrays of different lengths.)");

  py::class_<RecordIterator>(module, "RecordIterator")
      .def("__iter__", [](RecordIterator& self) -> RecordIterator& { return self; })
      .def("__next__", &RecordIterator::Next);

  module.def(
      "records",
      [](const py::object& path, const std::string& head, const py::object& kinds) {
        const xsereader::Heads heads = HeadsArgument(head);
        const quor::RecordKindSet wanted = KindsArgument(kinds);
        const std::string name = PathArgument(path);
        return RecordIterator(Open(name, heads), wanted, name);
      },
      py::arg("path"), py::arg("head") = "all", py::arg("kinds") = py::none(),
      R"(Yields each record of an XSE file as a dict with the keys of `xse dump`'s
JSON lines, in the same order; with kinds (as for read()) only the records
of those kinds. Raises OSError when the file cannot be opened (at the call,
not at the first record), ValueError for an unknown head or kind, and
ValueError ("NAME: no XSE data found") at the end when no frame was found.)");
}
