// Latitude and longitude in degrees beside a position record's own fields
// (`xse dump --degrees`); the record itself keeps the radians the decoder
// gives, so the record view stays exact.
#pragma once

#include <limits>
#include <numbers>

#include "xsereader/surveyrecords.h"

namespace xsetool {

// Visits "latitude" and "longitude" in degrees, north and east positive;
// NaN (null in JSON) for a fix that carries no WGS84 coordinates, whose
// geographic fields mean nothing.
template <typename Visitor>
void VisitDegrees(const quor::NavigationRec& record, Visitor& visitor) {
  constexpr double kDegreesPerRadian = 180.0 / std::numbers::pi;
  const bool wgs84 = (record.fieldMask & quor::NavigationRec::kWgs84) != 0;
  const double none = std::numeric_limits<double>::quiet_NaN();
  visitor.Scalar("latitude", wgs84 ? record.geographicFirst * kDegreesPerRadian : none);
  visitor.Scalar("longitude", wgs84 ? record.geographicSecond * kDegreesPerRadian : none);
}

}  // namespace xsetool
