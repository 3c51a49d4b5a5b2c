#include "tools/xse/csvwriter.h"

#include <array>
#include <charconv>
#include <cstdint>
#include <type_traits>

#include "tools/xse/utctime.h"

namespace xsetool {
namespace {

constexpr size_t kFlushThreshold = 1 << 16;

constexpr std::array<std::string_view, kAllRecordKinds.size()> kHeaders = {
    "time",
    "time,valid,fieldMask,sensorKind,deviceType,deviceId,name,offsetX,offsetY,offsetZ,"
    "mountAngle1,mountAngle2,mountAngle3,latencyMs,angleOffset1,angleOffset2,angleOffset3",
    "time,valid,fieldMask,geographicFirst,geographicSecond,projectedFirst,projectedSecond,"
    "thirdCoordinate",
    "time,valid,sensorIndex,heading",
    "time,valid,fieldMask,roll,pitch,heave",
    "ping,beam,time,soundVelocity,travelTime,acrossAngle,alongAngle,depth,acrossTrack,"
    "alongTrack,quality",
    "ping,sample,time,slantRange,sampleInterval,amplitude",
};

// Floats print "nan" and "inf" as spreadsheet and analysis tools read them.
template <typename T>
void AppendValue(std::string& out, T value) {
  char text[64];
  std::to_chars_result result;
  if constexpr (std::is_floating_point_v<T>) {
    result = std::to_chars(text, text + sizeof text, value);
  } else if constexpr (std::is_signed_v<T>) {
    result = std::to_chars(text, text + sizeof text, static_cast<int64_t>(value));
  } else {
    result = std::to_chars(text, text + sizeof text, static_cast<uint64_t>(value));
  }
  out.append(text, result.ptr);
}

// A cell after the first of a row, with its separator.
template <typename T>
void Cell(std::string& out, T value) {
  out += ',';
  AppendValue(out, value);
}

// Quoted only when it must be: a comma, a quote or a line break inside.
void TextCell(std::string& out, std::string_view text) {
  out += ',';
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

void EmptyCell(std::string& out) { out += ','; }

}  // namespace

std::string_view CsvHeader(RecordKind kind) { return kHeaders[static_cast<size_t>(kind)]; }

CsvRecordWriter::CsvRecordWriter(std::FILE* out, RecordKind kind) : out_(out), kind_(kind) {
  buffer_ += CsvHeader(kind);
  buffer_ += '\n';
}

bool CsvRecordWriter::Flush() {
  if (!buffer_.empty()) {
    if (std::fwrite(buffer_.data(), 1, buffer_.size(), out_) != buffer_.size()) writeFailed_ = true;
    buffer_.clear();
  }
  if (std::fflush(out_) != 0) writeFailed_ = true;
  return !writeFailed_;
}

// Rows of per-record tables start with the time.
void CsvRecordWriter::BeginRow(const quor::timeval& time) { buffer_ += FormatUtc(time); }

void CsvRecordWriter::EndRow() {
  buffer_ += '\n';
  if (buffer_.size() >= kFlushThreshold) Flush();
}

void CsvRecordWriter::HandleStartTime(const quor::timeval& startTime) {
  if (kind_ != RecordKind::kStartTime) return;
  BeginRow(startTime);
  EndRow();
}

void CsvRecordWriter::HandleParameter(const quor::ParameterRec& record) {
  if (kind_ != RecordKind::kParameter) return;
  BeginRow(record.time);
  Cell(buffer_, record.valid);
  Cell(buffer_, record.fieldMask);
  Cell(buffer_, record.sensorKind);
  Cell(buffer_, record.deviceType);
  Cell(buffer_, record.deviceId);
  TextCell(buffer_, record.name.View());
  for (double value : {record.offsetX, record.offsetY, record.offsetZ, record.mountAngle1,
                       record.mountAngle2, record.mountAngle3})
    Cell(buffer_, value);
  Cell(buffer_, record.latencyMs);
  for (double value : {record.angleOffset1, record.angleOffset2, record.angleOffset3})
    Cell(buffer_, value);
  EndRow();
}

void CsvRecordWriter::HandlePosition(const quor::NavigationRec& record) {
  if (kind_ != RecordKind::kPosition) return;
  BeginRow(record.time);
  Cell(buffer_, record.valid);
  Cell(buffer_, record.fieldMask);
  for (double value : {record.geographicFirst, record.geographicSecond, record.projectedFirst,
                       record.projectedSecond, record.thirdCoordinate})
    Cell(buffer_, value);
  EndRow();
}

void CsvRecordWriter::HandleGyro(const quor::GyroRec& record) {
  if (kind_ != RecordKind::kGyro) return;
  BeginRow(record.time);
  Cell(buffer_, record.valid);
  Cell(buffer_, record.sensorIndex);
  Cell(buffer_, record.heading);
  EndRow();
}

void CsvRecordWriter::HandleMotion(const quor::MotionRec& record) {
  if (kind_ != RecordKind::kMotion) return;
  BeginRow(record.time);
  Cell(buffer_, record.valid);
  Cell(buffer_, record.fieldMask);
  Cell(buffer_, record.roll);
  Cell(buffer_, record.pitch);
  Cell(buffer_, record.heave);
  EndRow();
}

void CsvRecordWriter::HandleMultibeam(const quor::MultibeamRec& record) {
  using MB = quor::MultibeamRec;
  if (kind_ != RecordKind::kMultibeam) return;
  // Per-beam arrays are read only as far as they are allocated.
  const uint32_t beams = record.beamCount <= record.beamCapacity ? record.beamCount : 0;
  const std::string time = FormatUtc(record.time);
  const auto floats = [&](uint32_t bit, const std::unique_ptr<float[]>& values, uint32_t beam) {
    if ((record.fieldMask & bit) != 0 && values) {
      Cell(buffer_, values[beam]);
    } else {
      EmptyCell(buffer_);
    }
  };
  for (uint32_t beam = 0; beam < beams; ++beam) {
    AppendValue(buffer_, record.pingNumber);
    Cell(buffer_, beam);
    buffer_ += ',';
    buffer_ += time;
    Cell(buffer_, record.soundVelocity);
    floats(MB::kTravelTime, record.travelTime, beam);
    floats(MB::kAcrossAngle, record.acrossAngle, beam);
    floats(MB::kAlongAngle, record.alongAngle, beam);
    floats(MB::kDepth, record.depth, beam);
    floats(MB::kAcrossTrack, record.acrossTrack, beam);
    floats(MB::kAlongTrack, record.alongTrack, beam);
    if ((record.fieldMask & MB::kQuality) != 0 && record.quality) {
      Cell(buffer_, record.quality[beam]);
    } else {
      EmptyCell(buffer_);
    }
    EndRow();
  }
}

void CsvRecordWriter::HandleSidescan(const quor::SidescanRec& record) {
  if (kind_ != RecordKind::kSidescan) return;
  const uint32_t samples =
      record.samples && record.sampleCount <= record.sampleCapacity ? record.sampleCount : 0;
  const std::string time = FormatUtc(record.time);
  for (uint32_t sample = 0; sample < samples; ++sample) {
    AppendValue(buffer_, record.pingNumber);
    Cell(buffer_, sample);
    buffer_ += ',';
    buffer_ += time;
    Cell(buffer_, record.slantRange);
    Cell(buffer_, record.sampleInterval);
    Cell(buffer_, record.samples[sample]);
    EndRow();
  }
}

}  // namespace xsetool
