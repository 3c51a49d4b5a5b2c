// The XSE reader as a library: open a recorded file, bytes in memory or a
// stream, choose which bathymetry heads to keep, then either have every
// record delivered to a quor::ISurveyTarget or pull the records one at a
// time. Records are those of xsereader/surveyrecords.h,
// delivered in the order the decoder produces them (as `xse dump` writes
// them).
//
// Damaged data is never an error: frames that do not fit are passed over and
// reading goes on behind them, as the `xse` tool does. The only failures are
// a source that cannot be opened (OpenFile) and an unknown head name
// (ParseHeads). Nothing here throws except std::bad_alloc.
//
// A SurveyReader is used by one thread at a time.
#pragma once

#include <cstdint>
#include <istream>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "xsereader/isurveytarget.h"
#include "xsereader/recordkind.h"
#include "xsereader/surveyrecords.h"

namespace xsereader {

// Library version, "MAJOR.MINOR.PATCH".
const char* Version();

// Which bathymetry heads a reader delivers: both, or the beams of one.
enum class Heads : int32_t { kAll = 0, kFirst = 1, kSecond = 2 };

// "all", "first" or "second"; nothing for any other text.
std::optional<Heads> ParseHeads(std::string_view name);

// The kinds, and RecordKindName: the kind's name as `xse dump` writes it
// ("startTime", "parameter", ...).
using quor::RecordKind;
using quor::RecordKindName;

// One pulled record: `kind` says which one pointer is set. The record belongs
// to the reader and stays valid until the next call to Next or Read*.
struct Record {
  RecordKind kind = RecordKind::kStartTime;
  const quor::timeval* startTime = nullptr;
  const quor::ParameterRec* parameter = nullptr;
  const quor::NavigationRec* position = nullptr;
  const quor::GyroRec* gyro = nullptr;
  const quor::MotionRec* motion = nullptr;
  const quor::MultibeamRec* multibeam = nullptr;
  const quor::SidescanRec* sidescan = nullptr;
};

class SurveyReader {
 public:
  // Opens the file at `path`. On failure returns null and, when `error` is
  // given, stores the reason: "file is empty" for an empty file, otherwise
  // the system's reason (e.g. "No such file or directory").
  static std::unique_ptr<SurveyReader> OpenFile(const std::string& path, Heads heads,
                                                std::string* error = nullptr);
  // Reads `bytes` where they lie; they must outlive the reader. Cannot fail:
  // empty or junk bytes give no records.
  static std::unique_ptr<SurveyReader> OpenBytes(std::span<const uint8_t> bytes, Heads heads);
  // Reads `stream` (binary, not owned, must outlive the reader) from where it
  // stands. Cannot fail: a stream that is failed or at its end gives no
  // records.
  static std::unique_ptr<SurveyReader> OpenStream(std::istream& stream, Heads heads);

  ~SurveyReader();
  SurveyReader(const SurveyReader&) = delete;
  SurveyReader& operator=(const SurveyReader&) = delete;

  // Delivers every remaining record to `target`, in decoder order, until the
  // end of the data. Records pulled by Next but not yet returned are
  // delivered first.
  void ReadAll(quor::ISurveyTarget& target);
  // Reads on to the next frame that yields records and delivers them to
  // `target`. False at the end of the data (nothing delivered then).
  bool ReadFrame(quor::ISurveyTarget& target);
  // The next record, or null at the end of the data. Pulling copies each
  // record once; ReadAll does not.
  const Record* Next();

  // Size of the source in bytes when known (files and bytes), else 0.
  uint64_t size() const;
  // Bytes consumed so far, frames and the junk between them, up to the last
  // step before the end of the data.
  uint64_t consumed() const;

 private:
  struct Impl;
  explicit SurveyReader(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace xsereader
