// RecordJsonWriter: a survey target that writes one JSON object per call it
// receives (the record stream of `xse dump`), copying the record while the
// call runs. Lines collect in a buffer that the owner flushes.
#pragma once

#include <cstdio>
#include <string>

#include "interpreters/surveyreaderlib/isurveytarget.h"
#include "tools/xse/recordkind.h"

namespace xsetool {

class RecordJsonWriter final : public quor::ISurveyTarget {
 public:
  // Lines are written to `out` whenever the buffer passes a threshold and
  // on Flush. A write error is remembered, not thrown.
  explicit RecordJsonWriter(std::FILE* out) : out_(out) {}

  void HandleStartTime(const quor::timeval& startTime) override;
  void HandleParameter(const quor::ParameterRec& record) override;
  void HandlePosition(const quor::NavigationRec& record) override;
  void HandleGyro(const quor::GyroRec& record) override;
  void HandleMotion(const quor::MotionRec& record) override;
  void HandleMultibeam(const quor::MultibeamRec& record) override;
  void HandleSidescan(const quor::SidescanRec& record) override;

  // Writes out what is buffered; false when any write so far failed.
  bool Flush();

 private:
  template <typename Record>
  void Write(RecordKind kind, const Record& record);

  std::FILE* out_;
  std::string line_;
  bool writeFailed_ = false;
};

}  // namespace xsetool
