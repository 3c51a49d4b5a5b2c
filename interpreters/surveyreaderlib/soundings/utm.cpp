#include "interpreters/surveyreaderlib/soundings/utm.h"

#include <charconv>
#include <cmath>

namespace soundings {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kRadians = kPi / 180.0;
constexpr double kSemiMajor = 6378137.0;
constexpr double kFlattening = 1.0 / 298.257223563;
constexpr double kScale = 0.9996;
constexpr double kFalseEasting = 500000.0;
constexpr double kSouthFalseNorthing = 10000000.0;

constexpr double kN = kFlattening / (2.0 - kFlattening);
constexpr double kN2 = kN * kN, kN3 = kN2 * kN, kN4 = kN3 * kN;
constexpr double kRectifyingRadius = kSemiMajor / (1.0 + kN) * (1.0 + kN2 / 4.0 + kN4 / 64.0);
constexpr double kAlpha[] = {
    kN / 2.0 - 2.0 * kN2 / 3.0 + 5.0 * kN3 / 16.0 + 41.0 * kN4 / 180.0,
    13.0 * kN2 / 48.0 - 3.0 * kN3 / 5.0 + 557.0 * kN4 / 1440.0,
    61.0 * kN3 / 240.0 - 103.0 * kN4 / 140.0,
    49561.0 * kN4 / 161280.0,
};

double Eccentricity() { return std::sqrt(kFlattening * (2.0 - kFlattening)); }

}  // namespace

UtmZone ZoneOf(double latitudeDegrees, double longitudeDegrees) {
  const auto band = static_cast<int>(std::floor((longitudeDegrees + 180.0) / 6.0));
  return {((band % 60) + 60) % 60 + 1, latitudeDegrees < 0};
}

std::optional<UtmZone> ParseZone(std::string_view text) {
  if (text.size() < 2) return std::nullopt;
  const char hemisphere = text.back();
  int number = 0;
  const auto digits = text.substr(0, text.size() - 1);
  const auto result = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (result.ec != std::errc{} || result.ptr != digits.data() + digits.size() || number < 1 ||
      number > 60)
    return std::nullopt;
  if (hemisphere == 'N' || hemisphere == 'n') return UtmZone{number, false};
  if (hemisphere == 'S' || hemisphere == 's') return UtmZone{number, true};
  return std::nullopt;
}

std::string ZoneName(UtmZone zone) {
  return std::to_string(zone.number) + (zone.south ? "S" : "N");
}

int EpsgCode(UtmZone zone) { return (zone.south ? 32700 : 32600) + zone.number; }

UtmProjection::UtmProjection(UtmZone zone)
    : centralMeridian_((zone.number * 6.0 - 183.0) * kRadians),
      falseNorthing_(zone.south ? kSouthFalseNorthing : 0.0) {}

void UtmProjection::Forward(double latitudeDegrees, double longitudeDegrees, double& easting,
                            double& northing) const {
  static const double e = Eccentricity();
  const double lon = std::remainder(longitudeDegrees * kRadians - centralMeridian_, 2.0 * kPi);
  const double tau = std::tan(latitudeDegrees * kRadians);
  const double secant = std::sqrt(1.0 + tau * tau);
  const double sigma = std::sinh(e * std::atanh(e * tau / secant));
  const double tauPrime = tau * std::sqrt(1.0 + sigma * sigma) - sigma * secant;
  const double cosLon = std::cos(lon);
  const double xiPrime = std::atan2(tauPrime, cosLon);
  const double etaPrime =
      std::asinh(std::sin(lon) / std::sqrt(tauPrime * tauPrime + cosLon * cosLon));
  double xi = xiPrime, eta = etaPrime;
  for (int j = 1; j <= 4; ++j) {
    const double alpha = kAlpha[j - 1];
    xi += alpha * std::sin(2 * j * xiPrime) * std::cosh(2 * j * etaPrime);
    eta += alpha * std::cos(2 * j * xiPrime) * std::sinh(2 * j * etaPrime);
  }
  easting = kFalseEasting + kScale * kRectifyingRadius * eta;
  northing = falseNorthing_ + kScale * kRectifyingRadius * xi;
}

void LocalUtm::Anchor(const UtmProjection& projection, double latitudeDegrees,
                      double longitudeDegrees) {
  // Central differences over a step of about 100 m.
  constexpr double kStep = 0.001;
  double e[3][3], n[3][3];  // [longitude step + 1][latitude step + 1]
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) {
      projection.Forward(latitudeDegrees + (j - 1) * kStep, longitudeDegrees + (i - 1) * kStep,
                         e[i][j], n[i][j]);
    }
  }
  const auto fit = [](const double f[3][3]) {
    Quadratic q;
    q.c = f[1][1];
    q.x = (f[2][1] - f[0][1]) / (2 * kStep);
    q.y = (f[1][2] - f[1][0]) / (2 * kStep);
    q.xx = (f[2][1] - 2 * f[1][1] + f[0][1]) / (kStep * kStep);
    q.yy = (f[1][2] - 2 * f[1][1] + f[1][0]) / (kStep * kStep);
    q.xy = (f[2][2] - f[2][0] - f[0][2] + f[0][0]) / (4 * kStep * kStep);
    return q;
  };
  east_ = fit(e);
  north_ = fit(n);
  latitude_ = latitudeDegrees;
  longitude_ = longitudeDegrees;
  anchored_ = true;
}

}  // namespace soundings
