#include "tools/plot/surveyextent.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace xseplot {
namespace {

constexpr double kEarthRadius = 6371008.8;  // mean radius, metres

}  // namespace

bool LocalProjection::Project(const quor::NavigationRec& fix, double& east, double& north) {
  const bool geographic = (fix.fieldMask & quor::NavigationRec::kWgs84) != 0;
  const double first = geographic ? fix.geographicFirst : fix.projectedFirst;
  const double second = geographic ? fix.geographicSecond : fix.projectedSecond;
  if (!std::isfinite(first) || !std::isfinite(second)) return false;
  if (!started_) {
    started_ = true;
    geographic_ = geographic;
    firstNorth_ = first;
    firstEast_ = second;
    eastScale_ = geographic ? std::cos(first) : 1.0;
  }
  if (geographic != geographic_) return false;
  const double scale = geographic ? kEarthRadius : 1.0;
  north = (first - firstNorth_) * scale;
  east = (second - firstEast_) * scale * eastScale_;
  return true;
}

double LocalProjection::NorthValue(double north) const {
  return geographic_ ? (firstNorth_ + north / kEarthRadius) * 180 / std::numbers::pi
                     : firstNorth_ + north;
}

double LocalProjection::EastValue(double east) const {
  return geographic_ ? (firstEast_ + east / (kEarthRadius * eastScale_)) * 180 / std::numbers::pi
                     : firstEast_ + east;
}

void AmplitudeHistogram::Add(float amplitude) {
  if (!(amplitude > 0) || !std::isfinite(amplitude)) return;
  const double bin = (std::log2(static_cast<double>(amplitude)) - kLowestOctave) * kBinsPerOctave;
  bins_[static_cast<size_t>(std::clamp(bin, 0.0, static_cast<double>(kBins - 1)))]++;
  ++count_;
}

double AmplitudeHistogram::Log2Quantile(double fraction) const {
  if (count_ == 0) return 0;
  const auto wanted = static_cast<uint64_t>(fraction * static_cast<double>(count_));
  uint64_t seen = 0;
  for (int bin = 0; bin < kBins; ++bin) {
    seen += bins_[static_cast<size_t>(bin)];
    if (seen > wanted) return kLowestOctave + (bin + 0.5) / kBinsPerOctave;
  }
  return kLowestOctave + static_cast<double>(kBins) / kBinsPerOctave;
}

bool HasDepths(const quor::MultibeamRec& record) {
  return record.beamCount > 0 && record.depth != nullptr &&
         (record.fieldMask & quor::MultibeamRec::kDepth) != 0;
}

bool HasSamples(const quor::SidescanRec& record) {
  return record.sampleCount > 0 && record.samples != nullptr &&
         (record.fieldMask & quor::SidescanRec::kSamples) != 0;
}

bool HasAcrossTrack(const quor::MultibeamRec& record) {
  return record.acrossTrack != nullptr &&
         (record.fieldMask & quor::MultibeamRec::kAcrossTrack) != 0;
}

double MetresPerSample(const quor::SidescanRec& record) {
  const double speed = record.soundVelocity > 0 ? record.soundVelocity : 1500.0;
  const double metres = record.sampleInterval * speed / 2;  // there and back
  return std::isfinite(metres) && metres > 0 ? metres : 0;
}

double Seconds(const quor::SensorRec& record) {
  return record.time.tv_sec + record.time.tv_usec * 1e-6;
}

void SurveyExtent::HandlePosition(const quor::NavigationRec& record) {
  double e = 0, n = 0;
  if (!projection_.Project(record, e, n)) return;
  ++fixes;
  east.Add(e);
  north.Add(n);
}

void SurveyExtent::HandleMultibeam(const quor::MultibeamRec& record) {
  if (!HasDepths(record)) return;
  ++pings;
  maxBeams = std::max(maxBeams, record.beamCount);
  for (uint32_t beam = 0; beam < record.beamCount; ++beam) {
    const double value = record.depth[beam];
    if (!std::isfinite(value)) continue;
    depth.Add(value);
    if (HasAcrossTrack(record) && std::isfinite(record.acrossTrack[beam]))
      across.Add(record.acrossTrack[beam]);
  }
}

void SurveyExtent::HandleSidescan(const quor::SidescanRec& record) {
  if (!HasSamples(record)) return;
  ++sidescanPings;
  maxSamples = std::max(maxSamples, record.sampleCount);
  pingTime.Add(Seconds(record));
  maxRange = std::max(maxRange, MetresPerSample(record) * record.sampleCount / 2);
  for (uint32_t i = 0; i < record.sampleCount; ++i) amplitudes.Add(record.samples[i]);
}

}  // namespace xseplot
