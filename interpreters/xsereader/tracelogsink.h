// The decoder's detail lines, written to the module's trace log as verbose
// (level 3) lines: kept at trace setting 2 only.
#pragma once

#include "interpreters/surveyreaderlib/elacreader/tracesink.h"
#include "libsys/ztracelogfile.h"

class TraceLogSink final : public elac::ITraceSink {
 public:
  bool WantsDetail() const override { return trace_detail::LineWanted(3); }
  void WriteDetail(const char* text) override { QUORLOG(3, "%s", text); }

  // One sink serves every reader of the module: it holds no state.
  static TraceLogSink& Shared() {
    static TraceLogSink sink;
    return sink;
  }
};
