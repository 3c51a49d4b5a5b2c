// The consumer side of a decoder. Virtual operations keep a fixed slot order;
// every handler does nothing by default, so a consumer overrides only what it
// needs. Records are valid only for the duration of a call: copy to keep.
#pragma once

#include "xsereader/surveyrecords.h"

namespace quor {

// Argument type of the reserved slots; nothing in this system calls them.
struct ReservedArg;

class ISurveyTarget {
 public:
  // clang-format off
  virtual void HandleStartTime(const timeval& /*startTime*/) {}              // slot 0
  virtual void HandleParameter(const ParameterRec& /*record*/) {}            // slot 1
  virtual void HandlePosition(const NavigationRec& /*record*/) {}            // slot 2
  virtual void HandleGyro(const GyroRec& /*record*/) {}                      // slot 3
  virtual void HandleMotion(const MotionRec& /*record*/) {}                  // slot 4
  virtual void Reserved5(const ReservedArg& /*unused*/) {}                   // slot 5
  virtual void HandleMultibeam(const MultibeamRec& /*record*/) {}            // slot 6
  virtual void Reserved7(const ReservedArg& /*unused*/) {}                   // slot 7
  virtual void HandleSidescan(const SidescanRec& /*record*/) {}              // slot 8
  virtual void Reserved9(const ReservedArg& /*unused*/) {}                   // slot 9
  virtual void Reserved10(const ReservedArg& /*unused*/) {}                  // slot 10
  virtual void Reserved11(const ReservedArg& /*unused*/) {}                  // slot 11
  virtual void Reserved12(const ReservedArg& /*unused*/) {}                  // slot 12
  virtual void Reserved13(const ReservedArg& /*unused*/) {}                  // slot 13
  virtual void HandleGeodesy() {}                                            // slot 14
  virtual void Reserved15(const ReservedArg& /*unused*/) {}                  // slot 15
  virtual void Reserved16(const ReservedArg& /*unused*/) {}                  // slot 16
  virtual void Reserved17(const ReservedArg& /*unused*/) {}                  // slot 17
  virtual bool Reserved18(const ReservedArg& /*unused*/) { return true; }    // slot 18
  // clang-format on

 protected:
  // Targets are never deleted through this interface, hence no virtual
  // destructor; protected copy keeps slicing out of reach.
  ISurveyTarget() = default;
  ISurveyTarget(const ISurveyTarget&) = default;
  ISurveyTarget& operator=(const ISurveyTarget&) = default;
  ~ISurveyTarget() = default;
};

// The built-in target of a decoder that was given none.
class NullSurveyTarget final : public ISurveyTarget {};

}  // namespace quor
