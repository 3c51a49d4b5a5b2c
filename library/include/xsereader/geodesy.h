// Offsets on the WGS84 ellipsoid: where a point lands that lies a given
// distance north and east of a known position.
#pragma once

#include <cmath>

namespace soundings {

struct GeoPoint {
  double latitude = 0;   // radians
  double longitude = 0;  // radians, not wrapped into any range
};

// The point `north` and `east` metres from `origin`, measured in the local
// tangent plane at the origin (at height 0). The plane point is taken back
// to the ellipsoid along its normal, so for offsets up to a kilometre the
// result stays within millimetres of the geodesic of the same length and
// azimuth. Undefined only at the poles themselves. Iterative and full of
// trigonometry: the reference that LocalFrame is held to.
GeoPoint OffsetOnEllipsoid(GeoPoint origin, double north, double east);

// The same mapping for many points around one origin (the beams of a ping):
// the origin's trigonometry is done once here, and each Offset is a handful
// of multiply-adds, two divisions and a square root, with no trigonometric
// call. Within a tenth of a millimetre of OffsetOnEllipsoid up to 1 km and
// a millimetre up to 5 km, away from the poles.
class LocalFrame {
 public:
  explicit LocalFrame(GeoPoint origin);

  GeoPoint Offset(double north, double east) const {
    // The plane point in Earth-centred axes turned so that the origin's
    // meridian is the x-z plane: the longitude offset is then a small angle.
    const double x = baseX_ - sinLat_ * north;
    const double z = baseZ_ + cosLat_ * north;
    const double p = std::sqrt(x * x + east * east);
    // Height of the plane point above the ellipsoid, enough for the latitude
    // formula's small correction (metres at 5 km).
    const double height = (north * north + east * east) * halfInverseRadius_;
    const double tanLatitude = z / (p * (oneMinusE2_ + e2OverRadius_ * height));
    const double latitudeStep = (tanLatitude - tanLat_) / (1.0 + tanLatitude * tanLat_);
    return {latitude_ + SmallAtan(latitudeStep), longitude_ + SmallAtan(east / x)};
  }

 private:
  // atan by its series for the small arguments a local offset makes; larger
  // ones (near a pole) take the library call.
  static double SmallAtan(double u) {
    if (std::fabs(u) > 0.05) return std::atan(u);
    const double u2 = u * u;
    return u * (1.0 - u2 * (1.0 / 3 - u2 * (1.0 / 5 - u2 * (1.0 / 7))));
  }

  double latitude_, longitude_;
  double sinLat_, cosLat_, tanLat_;
  double baseX_, baseZ_;
  double oneMinusE2_, e2OverRadius_, halfInverseRadius_;
};

}  // namespace soundings
