#include "xsereader/geodesy.h"

#include <cmath>

namespace soundings {
namespace {

constexpr double kSemiMajor = 6378137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr double kEccentricity2 = kFlattening * (2.0 - kFlattening);
constexpr double kTwoPi = 6.283185307179586;

struct Ecef {
  double x, y, z;
};

double PrimeVerticalRadius(double sinLatitude) {
  return kSemiMajor / std::sqrt(1.0 - kEccentricity2 * sinLatitude * sinLatitude);
}

// Geodetic latitude from Earth-centred coordinates, iterated to well below a
// millimetre (the series converges in two or three rounds near the surface).
GeoPoint ToGeodetic(const Ecef& point) {
  const double p = std::hypot(point.x, point.y);
  double latitude = std::atan2(point.z, p * (1.0 - kEccentricity2));
  for (int round = 0; round < 5; ++round) {
    const double sinLatitude = std::sin(latitude);
    const double radius = PrimeVerticalRadius(sinLatitude);
    const double height = p / std::cos(latitude) - radius;
    latitude = std::atan2(point.z, p * (1.0 - kEccentricity2 * radius / (radius + height)));
  }
  return {latitude, std::atan2(point.y, point.x)};
}

}  // namespace

GeoPoint OffsetOnEllipsoid(GeoPoint origin, double north, double east) {
  const double sinLat = std::sin(origin.latitude), cosLat = std::cos(origin.latitude);
  const double sinLon = std::sin(origin.longitude), cosLon = std::cos(origin.longitude);
  const double radius = PrimeVerticalRadius(sinLat);
  const Ecef base{radius * cosLat * cosLon, radius * cosLat * sinLon,
                  radius * (1.0 - kEccentricity2) * sinLat};
  // East and north unit vectors of the tangent plane, in Earth-centred axes.
  const Ecef point{base.x - sinLon * east - sinLat * cosLon * north,
                   base.y + cosLon * east - sinLat * sinLon * north, base.z + cosLat * north};
  GeoPoint result = ToGeodetic(point);
  // Keep the longitude continuous with the origin's rather than wrapped.
  result.longitude = origin.longitude + std::remainder(result.longitude - origin.longitude, kTwoPi);
  return result;
}

LocalFrame::LocalFrame(GeoPoint origin)
    : latitude_(origin.latitude),
      longitude_(origin.longitude),
      sinLat_(std::sin(origin.latitude)),
      cosLat_(std::cos(origin.latitude)),
      tanLat_(sinLat_ / cosLat_),
      oneMinusE2_(1.0 - kEccentricity2) {
  const double radius = PrimeVerticalRadius(sinLat_);
  baseX_ = radius * cosLat_;
  baseZ_ = radius * oneMinusE2_ * sinLat_;
  e2OverRadius_ = kEccentricity2 / radius;
  halfInverseRadius_ = 0.5 / radius;
}

}  // namespace soundings
