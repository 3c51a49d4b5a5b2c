#include "tools/generator/surveygenerator.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "tools/framewriter/xsegroups.h"

namespace xsetool {
namespace {

using namespace xsewriter;

constexpr double kPi = std::numbers::pi;
constexpr double kOuterBeamAngle = 70.0 * kPi / 180.0;
// The two heads look past the nadir into each other's side a little.
constexpr double kHeadOverlapAngle = 3.0 * kPi / 180.0;
constexpr double kSidescanRange = 150.0;  // metres per side
constexpr uint32_t kSidescanDelaySamples = 2;

// A sine from a table for the sidescan texture: thousands of values a ping,
// where the exact function would take most of the generator's time.
class SineTable {
 public:
  SineTable() {
    for (size_t i = 0; i <= kSize; ++i)
      values_[i] = std::sin(2 * kPi * static_cast<double>(i) / kSize);
  }
  double operator()(double radians) const {
    const double turns = radians / (2 * kPi);
    const double position = (turns - std::floor(turns)) * kSize;
    const auto index = std::min(static_cast<size_t>(position), kSize - 1);
    const double fraction = position - static_cast<double>(index);
    return values_[index] + fraction * (values_[index + 1] - values_[index]);
  }

 private:
  static constexpr size_t kSize = 4096;
  std::array<double, kSize + 1> values_{};
};

const SineTable& Sine() {
  static const SineTable table;
  return table;
}

double WrapAngle(double radians) {
  const double wrapped = std::fmod(radians, 2 * kPi);
  return wrapped < 0 ? wrapped + 2 * kPi : wrapped;
}

}  // namespace

SurveyGenerator::SurveyGenerator(const SurveyOptions& options)
    : options_(options),
      model_(options.seed),
      noise_(Random(options.seed ^ 0x6E6F697365ull).Fork()),
      byteOrders_(options.seed ^ 0x6F72646572ull) {
  if (!options_.durationSeconds && !options_.sizeBytes) options_.durationSeconds = 60.0;
  // Rates place the frames in time; one that is not a positive number would
  // make every frame time infinite or undefined.
  const SurveyOptions defaults;
  if (!(options_.navigationRateHz > 0) || !std::isfinite(options_.navigationRateHz))
    options_.navigationRateHz = defaults.navigationRateHz;
  if (!(options_.pingRateHz > 0) || !std::isfinite(options_.pingRateHz))
    options_.pingRateHz = defaults.pingRateHz;
  options_.beamsPerHead = std::max<uint32_t>(options_.beamsPerHead, 1);
  options_.sidescanSamplesPerSide = std::max<uint32_t>(options_.sidescanSamplesPerSide, 1);

  // Equiangular beams, port head first: record order runs port to starboard.
  const uint32_t perHead = options_.beamsPerHead;
  const double headSpan = kOuterBeamAngle + kHeadOverlapAngle;
  for (int head = 0; head < 2; ++head) {
    for (uint32_t i = 0; i < perHead; ++i) {
      const double fraction = perHead > 1 ? static_cast<double>(i) / (perHead - 1) : 0.5;
      beamAngles_.push_back(head == 0 ? -kOuterBeamAngle + fraction * headSpan
                                      : -kHeadOverlapAngle + fraction * headSpan);
    }
  }
  const size_t beams = beamAngles_.size();
  for (auto* values :
       {&travelTimes_, &acrossTracks_, &alongTracks_, &depths_, &acrossAngles_, &alongAngles_})
    values->resize(beams);
  qualities_.resize(beams);

  const uint32_t perSide = options_.sidescanSamplesPerSide;
  samples_.resize(2 * size_t{perSide});
  sidescanDecay_.resize(perSide);
  for (uint32_t j = 0; j < perSide; ++j)
    sidescanDecay_[j] = std::exp(-static_cast<double>(j) / (0.45 * perSide));
}

std::span<const uint8_t> SurveyGenerator::NextFrame() {
  if (parametersWritten_ && options_.sizeBytes && bytesMade_ >= *options_.sizeBytes) return {};
  double seconds = 0;
  if (!parametersWritten_) {
    WriteParameterFrame();
    parametersWritten_ = true;
  } else {
    // Offsets keep pings, sidescan and navigation from sharing time stamps.
    const double navigation = static_cast<double>(navigationCount_) / options_.navigationRateHz;
    const double ping = (static_cast<double>(pingCount_) + 0.37) / options_.pingRateHz;
    const double sidescan = (static_cast<double>(sidescanCount_) + 0.71) / options_.pingRateHz;
    seconds = std::min({navigation, ping, sidescan});
    if (options_.durationSeconds && seconds >= *options_.durationSeconds) return {};
    if (seconds == navigation) {
      WriteNavigationFrame(seconds);
      ++navigationCount_;
    } else if (seconds == ping) {
      WriteBathymetryFrame(seconds);
      ++pingCount_;
    } else {
      WriteSidescanFrame(seconds);
      ++sidescanCount_;
    }
  }
  const auto frame = writer_.EndFrame();
  ++framesMade_;
  bytesMade_ += frame.size();
  lastFrameSeconds_ = seconds;
  return frame;
}

void SurveyGenerator::BeginFrame(uint32_t frameType, double seconds) {
  bool big = options_.byteOrder == ByteOrderChoice::kBig;
  if (options_.byteOrder == ByteOrderChoice::kMixed) big = (byteOrders_.Next() & 1) != 0;
  writer_.SetOrder(big ? std::endian::big : std::endian::little);
  const auto micros = static_cast<int64_t>(std::llround(seconds * 1e6));
  writer_.BeginFrame(frameType, XseSecondsFromUnix(options_.startUnixSeconds + micros / 1000000),
                     static_cast<uint32_t>(micros % 1000000));
}

void SurveyGenerator::WriteParameterFrame() {
  BeginFrame(elac::kParameterFrame, 0);
  PutDraftGroup(writer_, model_.draft(), 16);

  const std::array<double, 3> antenna{1.20, -0.35, -14.8}, mru{0.10, 0.02, 0.45};
  Installation9 installation;
  installation.mruAngleOffset1 = 0.0021;
  installation.mruAngleOffset2 = -0.0013;
  installation.headingOffset = 0.0035;
  installation.positionDelay = 0.012;
  installation.position = antenna;
  installation.mru = mru;
  PutInstallationGroup(writer_, installation);

  const float tilt = 0.6109f;  // 35 degrees: each head looks out to its side
  const std::array<float, 3> port{0.25f, -0.62f, 3.9f}, starboard{0.25f, 0.62f, 3.9f};
  Installation8 transducers;
  transducers.mruAngleOffset1 = 0.0021f;
  transducers.mruAngleOffset2 = -0.0013f;
  transducers.headingOffset = 0.0035f;
  transducers.positionDelay = 0.012f;
  transducers.port = port;
  transducers.starboard = starboard;
  transducers.portMountAngle = tilt;
  transducers.starboardMountAngle = -tilt;
  for (size_t i = 0; i < 3; ++i) {
    transducers.position[i] = static_cast<float>(antenna[i]);
    transducers.mru[i] = static_cast<float>(mru[i]);
  }
  PutTransducerInstallationGroup(writer_, transducers);

  // Two transducers, two other devices of the sonar, one of a kind the
  // reader does not classify.
  const uint32_t ids[] = {101, 102, 201, 202, 301};
  const uint32_t types[] = {1000, 2000, 4000, 4000, 5000};
  PutDeviceListGroup(writer_, ids, types);
  const MountingEntry mounts[] = {
      {101, 1, {0.0, tilt, 0.0}, {0.25, -0.62, 3.9}},
      {101, 0, {0.0017, tilt, 0.0}, {0.31, -0.62, 3.92}},
      {102, 1, {0.0, -tilt, 0.0}, {0.25, 0.62, 3.9}},
      {102, 0, {-0.0011, -tilt, 0.0}, {0.31, 0.62, 3.92}},
      {201, 1, {0.0, 0.0, 0.0}, {-2.0, 0.0, 1.5}},
  };
  PutMountingGroup(writer_, mounts);
  const DeviceStatus status[] = {{2, 2, 0}, {2, 2, 2}};
  PutStatusGroup(writer_, status);
}

void SurveyGenerator::WriteNavigationFrame(double seconds) {
  BeginFrame(elac::kNavigationFrame, seconds);
  const VesselState state = model_.StateAt(seconds);
  double latitude = 0, longitude = 0;
  // A fix scatters by some decimetres around the true track.
  model_.ToGeographic(state.east + 0.3 * noise_.Normal(), state.north + 0.3 * noise_.Normal(),
                      latitude, longitude);
  PutPositionGroup(writer_, "WGS84", latitude, longitude, 42.0 + state.heave);
  PutHeadingGroup(writer_, WrapAngle(state.heading + 0.0005 * noise_.Normal()));
  PutAttitudeGroup(writer_, state.heave, state.roll, state.pitch);
}

void SurveyGenerator::WriteBathymetryFrame(double seconds) {
  BeginFrame(elac::kBathymetryFrame, seconds);
  const VesselState state = model_.StateAt(seconds);
  const double velocity = model_.soundVelocity();
  const double nadirDepth = model_.DepthAt(state.east, state.north);
  const double starboardEast = std::cos(state.heading), starboardNorth = -std::sin(state.heading);
  const double forwardEast = std::sin(state.heading), forwardNorth = std::cos(state.heading);
  const double alongOffset = nadirDepth * std::tan(state.pitch);

  const size_t beams = beamAngles_.size();
  for (size_t i = 0; i < beams; ++i) {
    const double angle = beamAngles_[i] + state.roll;
    const double slope = std::tan(angle);
    // The beam meets the seafloor near where a flat bottom at the nadir
    // depth would put it; one refinement is plenty for a smooth seafloor.
    const double guess = nadirDepth * slope;
    const double depth =
        model_.DepthAt(state.east + guess * starboardEast + alongOffset * forwardEast,
                       state.north + guess * starboardNorth + alongOffset * forwardNorth) *
            (1.0 + 0.001 * noise_.Normal()) +
        0.03 * noise_.Normal();
    const double across = depth * slope;
    const double along = alongOffset + 0.05 * noise_.Normal();
    depths_[i] = depth;
    acrossTracks_[i] = across;
    alongTracks_[i] = along;
    acrossAngles_[i] = angle;
    alongAngles_[i] = std::atan2(along, depth);
    travelTimes_[i] = 2.0 * std::sqrt(depth * depth + across * across + along * along) / velocity;
    // Quality codes: 1 is best; outer beams are worse; a few beams see nothing.
    int code = 1 + static_cast<int>(6.0 * std::abs(beamAngles_[i]) / kOuterBeamAngle +
                                    2.0 * std::abs(noise_.Normal()));
    if (noise_.Uniform() < 0.002) code = 0;
    qualities_[i] = static_cast<uint8_t>(std::clamp(code, 0, 15));
  }

  // On the wire the beams run the other way round (starboard first), the
  // across-track values and angles with the opposite sign, and travel times
  // two-way; the decoder turns all of that back.
  auto wire = [&](std::vector<double>& values, double sign) {
    std::reverse(values.begin(), values.end());
    if (sign < 0)
      for (double& value : values) value = -value;
  };
  wire(travelTimes_, 1);
  wire(acrossTracks_, -1);
  wire(alongTracks_, 1);
  wire(depths_, 1);
  wire(acrossAngles_, -1);
  wire(alongAngles_, 1);
  std::reverse(qualities_.begin(), qualities_.end());

  PutPingNumberGroup(writer_, static_cast<uint32_t>(pingCount_ + 1));
  const SoundVelocityEntry velocities[] = {{0, velocity}, {1, velocity + 2.5}};
  PutSoundVelocityGroup(writer_, velocities);
  PutBeamCountGroup(writer_, static_cast<int32_t>(beams));
  PutBeamValuesGroup(writer_, kTravelTimeGroup, travelTimes_);
  PutBeamValuesGroup(writer_, kAcrossAngleGroup, acrossAngles_);
  PutBeamValuesGroup(writer_, kAlongAngleGroup, alongAngles_);
  PutBeamValuesGroup(writer_, kAcrossTrackGroup, acrossTracks_);
  PutBeamValuesGroup(writer_, kAlongTrackGroup, alongTracks_);
  PutBeamValuesGroup(writer_, kDepthGroup, depths_);
  PutQualityGroup(writer_, qualities_);
  PutPingHeadingGroup(writer_, state.heading);
}

void SurveyGenerator::WriteSidescanFrame(double seconds) {
  BeginFrame(elac::kSidescanFrame, seconds);
  const VesselState state = model_.StateAt(seconds);
  const double depth = model_.DepthAt(state.east, state.north);
  const uint32_t perSide = options_.sidescanSamplesPerSide;
  const double metresPerSample = kSidescanRange / perSide;
  const auto interval = static_cast<uint32_t>(
      std::max(1.0, std::round(2.0 * metresPerSample / model_.soundVelocity() * 1e6)));
  const auto bottom = static_cast<uint32_t>(depth / metresPerSample);

  // Dark water column, a bright first return at the bottom, then a decaying
  // return textured by the seafloor and speckled.
  const SineTable& sine = Sine();
  for (int side = 0; side < 2; ++side) {
    const double tilt = side == 0 ? -state.roll : state.roll;
    for (uint32_t j = 0; j < perSide; ++j) {
      double amplitude = 150.0 + 60.0 * noise_.Uniform();
      if (j >= bottom) {
        const double range = j, nadir = bottom;
        const double ground = std::sqrt(range * range - nadir * nadir) * metresPerSample;
        const double texture = 1.0 + 0.35 * sine(ground / 6.0 + state.north / 9.0) +
                               0.25 * sine(ground / 2.3 + tilt * 40.0);
        amplitude += 30000.0 * sidescanDecay_[j - bottom] * texture * noise_.Uniform(0.6, 1.4);
      }
      const auto sample = static_cast<uint16_t>(std::clamp(amplitude, 0.0, 65535.0));
      // Wire order: starboard far to near, then port near to far.
      if (side == 0) {
        samples_[perSide + j] = sample;
      } else {
        samples_[perSide - 1 - j] = sample;
      }
    }
  }
  // Deeper water is recorded with less gain; the reader multiplies by
  // 2^-exponent.
  const int16_t gain = depth > 45.0 ? -1 : 0;
  PutSidescanPingGroup(writer_, static_cast<uint32_t>(sidescanCount_ + 1));
  PutSidescanSamplesGroup(writer_, interval, interval * kSidescanDelaySamples, samples_);
  PutSidescanGainGroup(writer_, gain, gain);
}

}  // namespace xsetool
