#include "tools/xse/surveystats.h"

#include <algorithm>
#include <cmath>

namespace xsetool {

void SurveyStats::Count(quor::RecordKind kind) { ++records_[static_cast<size_t>(kind)]; }

void SurveyStats::HandleStartTime(const quor::timeval& startTime) {
  Count(quor::RecordKind::kStartTime);
  timeSpan_.Add({startTime});
}

void SurveyStats::HandleParameter(const quor::ParameterRec& record) {
  Count(quor::RecordKind::kParameter);
  const std::string_view name = record.name.View();
  auto tally = std::find_if(parameters_.begin(), parameters_.end(), [&](const auto& entry) {
    return entry.sensorKind == record.sensorKind && entry.name == name;
  });
  // Names and kinds come from a handful of sensors; a file full of distinct
  // ones still must not grow the list without bound.
  constexpr size_t kMaxParameterEntries = 256;
  if (tally == parameters_.end()) {
    if (parameters_.size() >= kMaxParameterEntries) return;
    tally = parameters_.insert(parameters_.end(), {std::string(name), record.sensorKind, 0, 0});
  }
  ++tally->records;
  if (record.valid == 1) ++tally->valid;
}

void SurveyStats::HandlePosition(const quor::NavigationRec& record) {
  Count(quor::RecordKind::kPosition);
  const bool wgs84 = (record.fieldMask & quor::NavigationRec::kWgs84) != 0;
  PositionBounds& bounds = wgs84 ? geographic_ : projected_;
  ++bounds.fixes;
  const double first = wgs84 ? record.geographicFirst : record.projectedFirst;
  const double second = wgs84 ? record.geographicSecond : record.projectedSecond;
  // A NaN would poison the bounds; such a fix is counted but not bounded.
  if (std::isfinite(first) && std::isfinite(second)) {
    bounds.first.Add(first);
    bounds.second.Add(second);
  }
}

void SurveyStats::HandleGyro(const quor::GyroRec& /*record*/) { Count(quor::RecordKind::kGyro); }

void SurveyStats::HandleMotion(const quor::MotionRec& /*record*/) {
  Count(quor::RecordKind::kMotion);
}

void SurveyStats::HandleMultibeam(const quor::MultibeamRec& record) {
  Count(quor::RecordKind::kMultibeam);
  beamsPerPing_.Add(record.beamCount);
}

void SurveyStats::HandleSidescan(const quor::SidescanRec& record) {
  Count(quor::RecordKind::kSidescan);
  samplesPerPing_.Add(record.sampleCount);
}

}  // namespace xsetool
