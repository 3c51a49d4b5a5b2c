// The synthetic world a generated survey is recorded in: a vessel running
// parallel survey lines joined by half-circle turns over a smooth seafloor,
// rolling, pitching and heaving in a swell. For a given seed everything is a
// pure function of time and place, so frames can be made in any order.
#pragma once

#include <cstdint>

namespace xsetool {

struct VesselState {
  double east = 0, north = 0;  // metres from the survey's origin
  double heading = 0;          // radians clockwise from north, in [0, 2 pi)
  double roll = 0, pitch = 0;  // radians
  double heave = 0;            // metres
};

class SurveyModel {
 public:
  explicit SurveyModel(uint64_t seed);

  VesselState StateAt(double seconds) const;
  // Water depth in metres at a point, without noise.
  double DepthAt(double east, double north) const;
  // WGS84 latitude and longitude in radians of a point given in metres from
  // the origin (a local flat-earth approximation, plenty for a few km).
  void ToGeographic(double east, double north, double& latitude, double& longitude) const;

  double soundVelocity() const { return soundVelocity_; }  // m/s
  double draft() const { return draft_; }                  // metres

 private:
  double originLatitude_, originLongitude_;
  double lineBearing_, lineLength_, turnRadius_, speed_, crab_;
  double baseDepth_, slopeEast_, slopeNorth_;
  double waveAmplitude1_, waveLength1_, wavePhase1_;
  double waveAmplitude2_, waveLength2_, wavePhase2_;
  double rollAmplitude_, rollPeriod_, pitchAmplitude_, pitchPeriod_;
  double heaveAmplitude_, heavePeriod_, swellPhase_;
  double soundVelocity_, draft_;
};

}  // namespace xsetool
