// Georeferenced soundings: every beam of every ping as a point on the earth.
// SoundingTarget is a survey target that takes navigation and pings as a
// decoder delivers them and hands each sounding to a sink, streaming: it
// keeps only the pings that still wait for a later fix and the fixes and
// headings around them.
//
// A beam's across-track distance (to starboard) and along-track distance
// (forward) are turned by the vessel's heading at the ping's time and added
// to its position at that time, both interpolated linearly between the
// navigation records on either side of the ping (the heading the short way
// round, across north without a jump). Only WGS84 positions (latitude and
// longitude in radians, as recorded) and primary headings (sensor index 0)
// are used.
#pragma once

#include <cstdint>
#include <deque>
#include <vector>

#include "xsereader/geodesy.h"
#include "xsereader/isurveytarget.h"

namespace soundings {

struct Sounding {
  quor::timeval time;
  int32_t pingNumber = 0;
  uint32_t beam = 0;
  double latitude = 0;   // degrees, WGS84
  double longitude = 0;  // degrees, WGS84, within 180 of the vessel's
  float depth = 0;       // as recorded
  int16_t quality = 0;   // as recorded; -1 when the ping carries no qualities
};

// A ping's soundings as offsets in metres north and east of the vessel's
// position at the ping, on the plane tangent to the ellipsoid there: what
// `frame` turns into latitude and longitude.
struct PingOffsets {
  int32_t pingNumber = 0;
  const LocalFrame* frame = nullptr;
  const double* north = nullptr;
  const double* east = nullptr;
  const float* depth = nullptr;
  size_t count = 0;
};

class ISoundingSink {
 public:
  virtual void HandleSounding(const Sounding& sounding) = 0;
  // A sink that projects offsets itself takes whole pings (HandlePing)
  // instead of soundings one by one, saving the latitudes and longitudes.
  virtual bool TakesPings() const { return false; }
  virtual void HandlePing(const PingOffsets&) {}

 protected:
  ~ISoundingSink() = default;
};

// What was left out, and why, besides the soundings delivered.
struct SoundingCounts {
  uint64_t soundings = 0;
  uint64_t pingsGeoreferenced = 0;
  uint64_t pingsBeforeNavigation = 0;  // earlier than the first fix or heading
  uint64_t pingsAfterNavigation = 0;   // no later fix or heading came in reach
  uint64_t beamsLeftOut = 0;           // quality 0, or depth or a distance missing
  uint64_t projectedFixes = 0;         // positions not in WGS84: never guessed at
};

class SoundingTarget final : public quor::ISurveyTarget {
 public:
  // A ping waits for the fix and heading after it; at most this many pings
  // wait at once, the oldest then counts as after the navigation, so a
  // file whose navigation stops never grows memory without bound.
  static constexpr size_t kMaxWaitingPings = 4096;

  explicit SoundingTarget(ISoundingSink& sink) : sink_(sink) {}

  void HandlePosition(const quor::NavigationRec& record) override;
  void HandleGyro(const quor::GyroRec& record) override;
  void HandleMultibeam(const quor::MultibeamRec& record) override;

  // The end of the data: pings still waiting are counted as after the
  // navigation. The target can then take the next file's records.
  void Finish();

  const SoundingCounts& counts() const { return counts_; }

 private:
  struct Fix {
    int64_t micros = 0;
    GeoPoint point;
  };
  struct Heading {
    int64_t micros = 0;
    double degrees = 0;
  };
  struct WaitingPing {
    int64_t micros = 0;
    quor::timeval time;
    int32_t pingNumber = 0;
    bool hasQuality = false;
    std::vector<float> across, along, depth;
    std::vector<uint8_t> quality;
  };

  void Resolve();
  void Emit(const WaitingPing& ping, GeoPoint position, double headingDegrees);
  void Release();
  void Trim();

  ISoundingSink& sink_;
  SoundingCounts counts_;
  std::deque<Fix> fixes_;
  std::deque<Heading> headings_;
  // Waiting pings in arrival order, as slots of a pool whose arrays are
  // reused, so steady state allocates nothing.
  std::deque<size_t> waiting_;
  std::vector<WaitingPing> pool_;
  std::vector<size_t> freeSlots_;
  // The ping being handed to a sink that takes pings, reused.
  std::vector<double> north_, east_;
  std::vector<float> depth_;
};

}  // namespace soundings
