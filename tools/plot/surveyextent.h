// The first pass over a survey: how far every quantity a plot scales by
// reaches, so that the second pass can draw each record where it belongs as
// it streams by. Keeps a fixed amount of memory whatever the survey's size.
#pragma once

#include <array>
#include <cstdint>
#include <limits>

#include "xsereader/isurveytarget.h"

namespace xseplot {

// Fixes in metres east and north of the survey's first fix. WGS84 fixes
// (latitude and longitude in radians) are projected onto the plane that
// touches the earth there, which holds to well under a metre over tens of
// kilometres; projected fixes (northing, easting) are only shifted. Fixes in
// the other kind of datum than the first one are not used.
class LocalProjection {
 public:
  // False for a fix that is not used (the other datum, or not finite).
  bool Project(const quor::NavigationRec& fix, double& east, double& north);
  // Whether the first fix was WGS84, so the values below are degrees.
  bool geographic() const { return geographic_; }
  // The fixes' own coordinates of a point `north` and `east` metres from the
  // first fix: latitude and longitude in degrees for WGS84 fixes, the
  // projected northing and easting otherwise.
  double NorthValue(double north) const;
  double EastValue(double east) const;

 private:
  bool started_ = false;
  bool geographic_ = false;
  double firstNorth_ = 0, firstEast_ = 0, eastScale_ = 1;
};

struct Range {
  double min = std::numeric_limits<double>::infinity();
  double max = -std::numeric_limits<double>::infinity();
  bool empty() const { return !(min <= max); }
  void Add(double value) {
    if (value < min) min = value;
    if (value > max) max = value;
  }
};

// Log2 histogram of sidescan amplitudes, 8 bins per octave.
class AmplitudeHistogram {
 public:
  static constexpr int kBinsPerOctave = 8;
  static constexpr int kLowestOctave = -40;
  static constexpr int kBins = 80 * kBinsPerOctave;

  void Add(float amplitude);
  uint64_t count() const { return count_; }
  // log2 of the amplitude below which `fraction` of the positive
  // amplitudes lie (to the histogram's resolution); 0 when there are none.
  double Log2Quantile(double fraction) const;

 private:
  std::array<uint64_t, kBins> bins_{};
  uint64_t count_ = 0;
};

class SurveyExtent final : public quor::ISurveyTarget {
 public:
  void HandlePosition(const quor::NavigationRec& record) override;
  void HandleMultibeam(const quor::MultibeamRec& record) override;
  void HandleSidescan(const quor::SidescanRec& record) override;

  uint64_t fixes = 0;
  Range east, north;   // metres from the first fix
  uint64_t pings = 0;  // bathymetry pings that carry depths
  uint32_t maxBeams = 0;
  Range depth;                 // finite depths only
  Range across;                // across-track metres of beams with depths, port negative
  uint64_t sidescanPings = 0;  // with samples
  uint32_t maxSamples = 0;
  Range pingTime;       // sidescan pings, seconds since 1970
  double maxRange = 0;  // sidescan, metres either side of the track
  AmplitudeHistogram amplitudes;

 private:
  LocalProjection projection_;
};

// Whether a bathymetry ping is drawn: it has beams and depths.
bool HasDepths(const quor::MultibeamRec& record);
// Whether a sidescan ping is drawn: it has samples.
bool HasSamples(const quor::SidescanRec& record);
// Whether a ping's beams carry across-track distances.
bool HasAcrossTrack(const quor::MultibeamRec& record);
// Metres of slant range one sidescan sample spans; 0 when the ping's
// sample interval is unknown.
double MetresPerSample(const quor::SidescanRec& record);
// Seconds since 1970 of a record.
double Seconds(const quor::SensorRec& record);

}  // namespace xseplot
