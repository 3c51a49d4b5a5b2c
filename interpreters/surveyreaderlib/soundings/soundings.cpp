#include "xsereader/soundings.h"

#include <algorithm>
#include <cmath>

namespace soundings {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kDegrees = 180.0 / kPi;

int64_t Micros(const quor::timeval& time) { return int64_t{time.tv_sec} * 1000000 + time.tv_usec; }

enum class Reach { kBefore, kWaiting, kFound };

// Where `micros` falls in a time-ordered history: before its first entry,
// past its last (wait for more), or between two entries `a` and `b`
// (a.micros <= micros <= b.micros).
template <typename Entry>
Reach Bracket(const std::deque<Entry>& history, int64_t micros, const Entry*& a, const Entry*& b) {
  if (history.empty()) return Reach::kWaiting;
  if (micros < history.front().micros) return Reach::kBefore;
  if (micros > history.back().micros) return Reach::kWaiting;
  const auto after =
      std::lower_bound(history.begin(), history.end(), micros,
                       [](const Entry& entry, int64_t time) { return entry.micros < time; });
  b = &*after;
  a = after->micros == micros || after == history.begin() ? b : &*(after - 1);
  return Reach::kFound;
}

double Fraction(int64_t from, int64_t to, int64_t at) {
  return to == from ? 0.0 : static_cast<double>(at - from) / static_cast<double>(to - from);
}

// Adds a record to a history kept in time order; one that goes back in
// time restarts the history (a new file or a clock step).
template <typename Entry>
void Append(std::deque<Entry>& history, const Entry& entry) {
  if (!history.empty() && entry.micros < history.back().micros) history.clear();
  history.push_back(entry);
}

template <typename Array>
bool Carried(const quor::MultibeamRec& record, uint32_t bit, const Array& values) {
  return (record.fieldMask & bit) != 0 && values != nullptr;
}

}  // namespace

void SoundingTarget::HandlePosition(const quor::NavigationRec& record) {
  constexpr uint32_t kWgs84Bits = quor::NavigationRec::kWgs84 | quor::NavigationRec::kWgs84Datum;
  if ((record.fieldMask & kWgs84Bits) != kWgs84Bits) {
    ++counts_.projectedFixes;
    return;
  }
  Append(fixes_, Fix{Micros(record.time), {record.geographicFirst, record.geographicSecond}});
  Resolve();
}

void SoundingTarget::HandleGyro(const quor::GyroRec& record) {
  if (record.sensorIndex != 0) return;  // the ping's own heading, not the navigation's
  Append(headings_, Heading{Micros(record.time), record.heading});
  Resolve();
}

void SoundingTarget::HandleMultibeam(const quor::MultibeamRec& record) {
  using MB = quor::MultibeamRec;
  if (waiting_.size() >= kMaxWaitingPings) {
    ++counts_.pingsAfterNavigation;
    Release();
  }
  size_t slot = 0;
  if (freeSlots_.empty()) {
    slot = pool_.size();
    pool_.emplace_back();
  } else {
    slot = freeSlots_.back();
    freeSlots_.pop_back();
  }
  WaitingPing& ping = pool_[slot];
  ping.micros = Micros(record.time);
  ping.time = record.time;
  ping.pingNumber = record.pingNumber;
  const bool fits = record.beamCount <= record.beamCapacity;
  const bool located = fits && Carried(record, MB::kDepth, record.depth) &&
                       Carried(record, MB::kAcrossTrack, record.acrossTrack) &&
                       Carried(record, MB::kAlongTrack, record.alongTrack);
  const uint32_t beams = located ? record.beamCount : 0;
  if (!located) counts_.beamsLeftOut += record.beamCount;
  ping.hasQuality = located && Carried(record, MB::kQuality, record.quality);
  ping.across.assign(record.acrossTrack.get(), record.acrossTrack.get() + beams);
  ping.along.assign(record.alongTrack.get(), record.alongTrack.get() + beams);
  ping.depth.assign(record.depth.get(), record.depth.get() + beams);
  if (ping.hasQuality) {
    ping.quality.assign(record.quality.get(), record.quality.get() + beams);
  } else {
    ping.quality.clear();
  }
  waiting_.push_back(slot);
  Resolve();
}

void SoundingTarget::Finish() {
  for (const size_t slot : waiting_) {
    const int64_t micros = pool_[slot].micros;
    const bool before = fixes_.empty() || headings_.empty() || micros < fixes_.front().micros ||
                        micros < headings_.front().micros;
    ++(before ? counts_.pingsBeforeNavigation : counts_.pingsAfterNavigation);
    freeSlots_.push_back(slot);
  }
  waiting_.clear();
  fixes_.clear();
  headings_.clear();
}

void SoundingTarget::Release() {
  freeSlots_.push_back(waiting_.front());
  waiting_.pop_front();
}

void SoundingTarget::Resolve() {
  while (!waiting_.empty()) {
    const WaitingPing& ping = pool_[waiting_.front()];
    const Fix *fixA = nullptr, *fixB = nullptr;
    const Heading *headingA = nullptr, *headingB = nullptr;
    const Reach fix = Bracket(fixes_, ping.micros, fixA, fixB);
    const Reach heading = Bracket(headings_, ping.micros, headingA, headingB);
    if (fix == Reach::kBefore || heading == Reach::kBefore) {
      ++counts_.pingsBeforeNavigation;
    } else if (fix == Reach::kWaiting || heading == Reach::kWaiting) {
      break;
    } else {
      const double f = Fraction(fixA->micros, fixB->micros, ping.micros);
      const GeoPoint position{
          fixA->point.latitude + f * (fixB->point.latitude - fixA->point.latitude),
          fixA->point.longitude + f * (fixB->point.longitude - fixA->point.longitude)};
      const double g = Fraction(headingA->micros, headingB->micros, ping.micros);
      const double turn = std::remainder(headingB->degrees - headingA->degrees, 360.0);
      Emit(ping, position, headingA->degrees + g * turn);
    }
    Release();
  }
  Trim();
}

// Keeps of each history the last entry at or before the oldest waiting ping
// (or the last entry when none waits) and everything after it.
void SoundingTarget::Trim() {
  const auto trim = [this](auto& history) {
    const int64_t keepFrom = waiting_.empty() ? INT64_MAX : pool_[waiting_.front()].micros;
    while (history.size() > 1 && history[1].micros <= keepFrom) history.pop_front();
  };
  trim(fixes_);
  trim(headings_);
}

void SoundingTarget::Emit(const WaitingPing& ping, GeoPoint position, double headingDegrees) {
  ++counts_.pingsGeoreferenced;
  const double heading = headingDegrees / kDegrees;
  const double cosHeading = std::cos(heading), sinHeading = std::sin(heading);
  const LocalFrame frame(position);
  const bool wholePing = sink_.TakesPings();
  north_.clear();
  east_.clear();
  depth_.clear();
  Sounding sounding;
  sounding.time = ping.time;
  sounding.pingNumber = ping.pingNumber;
  for (uint32_t beam = 0; beam < ping.depth.size(); ++beam) {
    const float along = ping.along[beam], across = ping.across[beam], depth = ping.depth[beam];
    const int16_t quality = ping.hasQuality ? int16_t{ping.quality[beam]} : int16_t{-1};
    if (quality == 0 || !std::isfinite(along) || !std::isfinite(across) || !std::isfinite(depth)) {
      ++counts_.beamsLeftOut;
      continue;
    }
    // Forward and starboard turned by the heading (clockwise from north).
    const double north = along * cosHeading - across * sinHeading;
    const double east = along * sinHeading + across * cosHeading;
    ++counts_.soundings;
    if (wholePing) {
      north_.push_back(north);
      east_.push_back(east);
      depth_.push_back(depth);
      continue;
    }
    const GeoPoint point = frame.Offset(north, east);
    sounding.beam = beam;
    sounding.latitude = point.latitude * kDegrees;
    sounding.longitude = point.longitude * kDegrees;
    sounding.depth = depth;
    sounding.quality = quality;
    sink_.HandleSounding(sounding);
  }
  if (wholePing) {
    sink_.HandlePing(
        {ping.pingNumber, &frame, north_.data(), east_.data(), depth_.data(), depth_.size()});
  }
}

}  // namespace soundings
