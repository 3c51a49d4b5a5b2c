// WGS84 latitude and longitude to UTM easting and northing.
#pragma once

#include <cmath>
#include <optional>
#include <string>
#include <string_view>

namespace soundings {

struct UtmZone {
  int number = 31;     // 1 to 60
  bool south = false;  // southern hemisphere: northings from 10,000 km
};

// The zone of a point in degrees.
UtmZone ZoneOf(double latitudeDegrees, double longitudeDegrees);
// "32N" or "33S" (the number 1 to 60, then N or S); nothing otherwise.
std::optional<UtmZone> ParseZone(std::string_view text);
std::string ZoneName(UtmZone zone);
int EpsgCode(UtmZone zone);

// The transverse Mercator series in the third flattening to the fourth
// order: well under a millimetre within a zone and its neighbours.
class UtmProjection {
 public:
  explicit UtmProjection(UtmZone zone);

  // Easting and northing in metres of a point given in degrees.
  void Forward(double latitudeDegrees, double longitudeDegrees, double& easting,
               double& northing) const;

 private:
  double centralMeridian_;  // radians
  double falseNorthing_;
};

// The projection around one point (a ping's soundings) as its second-order
// Taylor polynomial: nine full projections to set up, then per point a few
// multiply-adds. Within a tenth of a millimetre of UtmProjection over the
// reach it covers (about 2 km each way); points beyond take a new anchor.
class LocalUtm {
 public:
  static constexpr double kReachDegrees = 0.02;

  void Anchor(const UtmProjection& projection, double latitudeDegrees, double longitudeDegrees);
  // Whether a point is near enough to the anchor for the polynomial.
  bool Covers(double latitudeDegrees, double longitudeDegrees) const {
    return anchored_ && std::fabs(latitudeDegrees - latitude_) < kReachDegrees &&
           std::fabs(longitudeDegrees - longitude_) < kReachDegrees;
  }
  void Forward(double latitudeDegrees, double longitudeDegrees, double& easting,
               double& northing) const {
    const double y = latitudeDegrees - latitude_, x = longitudeDegrees - longitude_;
    easting = east_.At(x, y);
    northing = north_.At(x, y);
  }

 private:
  struct Quadratic {
    double c = 0, x = 0, y = 0, xx = 0, xy = 0, yy = 0;
    double At(double dx, double dy) const {
      return c + dx * (x + 0.5 * xx * dx + xy * dy) + dy * (y + 0.5 * yy * dy);
    }
  };
  bool anchored_ = false;
  double latitude_ = 0, longitude_ = 0;
  Quadratic east_, north_;
};

}  // namespace soundings
