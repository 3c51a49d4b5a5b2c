// Offsets on the WGS84 ellipsoid: where a point lands that lies a given
// distance north and east of a known position.
#pragma once

namespace soundings {

struct GeoPoint {
  double latitude = 0;   // radians
  double longitude = 0;  // radians, not wrapped into any range
};

// The point `north` and `east` metres from `origin`, measured in the local
// tangent plane at the origin (at height 0). The plane point is taken back
// to the ellipsoid along its normal, so for offsets up to a kilometre the
// result stays within millimetres of the geodesic of the same length and
// azimuth. Undefined only at the poles themselves.
GeoPoint OffsetOnEllipsoid(GeoPoint origin, double north, double east);

}  // namespace soundings
