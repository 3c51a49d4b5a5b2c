// A target for the fuzzers that touches every element a record claims to
// hold, so a record whose counts disagree with its arrays shows up as a
// sanitizer report.
#pragma once

#include <cstdlib>

#include "xsereader/isurveytarget.h"

namespace xsefuzz {

class CheckingTarget final : public quor::ISurveyTarget {
 public:
  void HandleMultibeam(const quor::MultibeamRec& record) override {
    if (record.beamCount > record.beamCapacity) std::abort();
    if (!record.depth || !record.travelTime || !record.acrossAngle || !record.alongAngle ||
        !record.acrossTrack || !record.alongTrack || !record.quality)
      return;
    for (uint32_t i = 0; i < record.beamCount; ++i) {
      sink = sink + record.depth[i] + record.travelTime[i] + record.acrossAngle[i] +
             record.alongAngle[i] + record.acrossTrack[i] + record.alongTrack[i] +
             static_cast<float>(record.quality[i]);
    }
  }
  void HandleSidescan(const quor::SidescanRec& record) override {
    if (record.sampleCount > record.sampleCapacity) std::abort();
    if (!record.samples) return;
    for (uint32_t i = 0; i < record.sampleCount; ++i) sink = sink + record.samples[i];
  }
  void HandleParameter(const quor::ParameterRec& record) override {
    if (record.name.View().size() > 255) std::abort();
    sink = sink + static_cast<float>(record.name.length);
  }
  volatile float sink = 0;
};

}  // namespace xsefuzz
