// SurveyGenerator: a synthetic but realistic XSE survey, frame by frame,
// written with the frame writer. It begins with a parameter frame (draft,
// installations, device list with mounting entries and status) and then
// interleaves navigation frames, two-head bathymetry pings and sidescan pings
// in time order. The same options (seed included) give the same bytes; the
// byte order never changes the values, only how they are stored.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "tools/framewriter/framewriter.h"
#include "tools/generator/random.h"
#include "tools/generator/surveymodel.h"

namespace xsetool {

enum class ByteOrderChoice { kBig, kLittle, kMixed };

struct SurveyOptions {
  uint64_t seed = 1;
  // Stop before the first frame at or after this much survey time. With
  // neither limit set the survey lasts 60 s.
  std::optional<double> durationSeconds;
  // Stop once the frames written reach this many bytes (the last frame ends
  // past it by less than one frame).
  std::optional<uint64_t> sizeBytes;
  uint32_t beamsPerHead = 128;
  uint32_t sidescanSamplesPerSide = 1000;
  // Frames per second; a rate that is not a positive number falls back to
  // its default.
  double navigationRateHz = 20;
  double pingRateHz = 10;  // bathymetry and sidescan alike
  ByteOrderChoice byteOrder = ByteOrderChoice::kBig;
  int64_t startUnixSeconds = 1714550400;  // 2024-05-01T08:00:00Z
};

class SurveyGenerator {
 public:
  explicit SurveyGenerator(const SurveyOptions& options);

  // The next frame, valid until the next call; empty once the survey is
  // complete.
  std::span<const uint8_t> NextFrame();

  uint64_t framesMade() const { return framesMade_; }
  uint64_t bytesMade() const { return bytesMade_; }
  // Survey time of the last frame made, in seconds from the start.
  double lastFrameSeconds() const { return lastFrameSeconds_; }

 private:
  void BeginFrame(uint32_t frameType, double seconds);
  void WriteParameterFrame();
  void WriteNavigationFrame(double seconds);
  void WriteBathymetryFrame(double seconds);
  void WriteSidescanFrame(double seconds);

  SurveyOptions options_;
  SurveyModel model_;
  Random noise_;       // measurement noise
  Random byteOrders_;  // kept apart so the byte order leaves the values alone
  xsewriter::FrameWriter writer_;

  uint64_t navigationCount_ = 0, pingCount_ = 0, sidescanCount_ = 0;
  bool parametersWritten_ = false;
  uint64_t framesMade_ = 0, bytesMade_ = 0;
  double lastFrameSeconds_ = 0;

  // Per-ping scratch, sized once.
  std::vector<double> beamAngles_;  // across angles without roll, port to starboard
  std::vector<double> travelTimes_, acrossTracks_, alongTracks_, depths_, acrossAngles_,
      alongAngles_;
  std::vector<uint8_t> qualities_;
  std::vector<uint16_t> samples_;
  std::vector<double> sidescanDecay_;
};

}  // namespace xsetool
