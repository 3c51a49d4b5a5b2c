#include "tools/generator/surveymodel.h"

#include <cmath>
#include <numbers>

#include "tools/generator/random.h"

namespace xsetool {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kEarthRadius = 6371000.0;

double Radians(double degrees) { return degrees * kPi / 180.0; }

}  // namespace

SurveyModel::SurveyModel(uint64_t seed) {
  Random random(seed);
  // A coastal area of the western Baltic: depths of a few tens of metres.
  originLatitude_ = Radians(random.Uniform(54.2, 54.6));
  originLongitude_ = Radians(random.Uniform(10.2, 11.0));
  lineBearing_ = random.Uniform(0.0, kPi);
  lineLength_ = random.Uniform(1200.0, 2500.0);
  turnRadius_ = random.Uniform(70.0, 120.0);  // line spacing is twice this
  speed_ = random.Uniform(3.5, 5.0);          // about 7 to 10 knots
  crab_ = Radians(random.Uniform(-3.0, 3.0));
  baseDepth_ = random.Uniform(35.0, 60.0);
  slopeEast_ = random.Uniform(-0.01, 0.01);
  slopeNorth_ = random.Uniform(-0.01, 0.01);
  waveAmplitude1_ = random.Uniform(4.0, 8.0);
  waveLength1_ = random.Uniform(400.0, 900.0);
  wavePhase1_ = random.Uniform(0.0, 2 * kPi);
  waveAmplitude2_ = random.Uniform(1.0, 3.0);
  waveLength2_ = random.Uniform(120.0, 300.0);
  wavePhase2_ = random.Uniform(0.0, 2 * kPi);
  rollAmplitude_ = Radians(random.Uniform(1.5, 4.0));
  rollPeriod_ = random.Uniform(6.0, 10.0);
  pitchAmplitude_ = Radians(random.Uniform(0.5, 1.5));
  pitchPeriod_ = random.Uniform(5.0, 8.0);
  heaveAmplitude_ = random.Uniform(0.2, 0.6);
  heavePeriod_ = random.Uniform(7.0, 10.0);
  swellPhase_ = random.Uniform(0.0, 2 * kPi);
  soundVelocity_ = random.Uniform(1470.0, 1510.0);
  draft_ = random.Uniform(3.0, 4.5);
}

VesselState SurveyModel::StateAt(double seconds) const {
  // Lines run along the pattern's own north axis, line k at east = 2 R k,
  // northwards for even k, southwards for odd k, joined by half circles.
  const double cycle = lineLength_ + kPi * turnRadius_;
  const double travelled = speed_ * seconds;
  const double line = std::floor(travelled / cycle);
  const double along = travelled - line * cycle;
  const bool northwards = std::fmod(line, 2.0) == 0.0;
  const double lineEast = 2.0 * turnRadius_ * line;
  double east = 0, north = 0, course = 0;
  if (along < lineLength_) {
    east = lineEast;
    north = northwards ? along : lineLength_ - along;
    course = northwards ? 0.0 : kPi;
  } else {
    const double angle = (along - lineLength_) / turnRadius_;  // 0 to pi
    east = lineEast + turnRadius_ - turnRadius_ * std::cos(angle);
    north =
        northwards ? lineLength_ + turnRadius_ * std::sin(angle) : -turnRadius_ * std::sin(angle);
    course = northwards ? angle : kPi - angle;
  }
  VesselState state;
  // Turn the pattern so its lines run along lineBearing_.
  const double c = std::cos(lineBearing_), s = std::sin(lineBearing_);
  state.east = east * c + north * s;
  state.north = -east * s + north * c;
  state.heading = std::fmod(course + lineBearing_ + crab_ + 4 * kPi, 2 * kPi);
  const double phase = swellPhase_ + 2 * kPi * seconds;
  state.roll = rollAmplitude_ * std::sin(phase / rollPeriod_);
  state.pitch = pitchAmplitude_ * std::sin(phase / pitchPeriod_ + 1.0);
  state.heave = heaveAmplitude_ * std::sin(phase / heavePeriod_ + 2.0);
  return state;
}

double SurveyModel::DepthAt(double east, double north) const {
  return baseDepth_ + slopeEast_ * east + slopeNorth_ * north +
         waveAmplitude1_ * std::sin(east / waveLength1_ + wavePhase1_) *
             std::cos(north / waveLength1_ * 0.7) +
         waveAmplitude2_ * std::sin((east + north) / waveLength2_ + wavePhase2_);
}

void SurveyModel::ToGeographic(double east, double north, double& latitude,
                               double& longitude) const {
  latitude = originLatitude_ + north / kEarthRadius;
  longitude = originLongitude_ + east / (kEarthRadius * std::cos(originLatitude_));
}

}  // namespace xsetool
