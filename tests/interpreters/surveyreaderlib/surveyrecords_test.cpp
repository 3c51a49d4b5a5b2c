#include "interpreters/surveyreaderlib/surveyrecords.h"

#include <gtest/gtest.h>

#include <string>

#include "interpreters/surveyreaderlib/isurveytarget.h"

namespace {

TEST(SurveyRecords, FreshRecordsCarryTheirDefaults) {
  const quor::MultibeamRec multibeam;
  EXPECT_EQ(multibeam.pingNumber, -1);
  EXPECT_EQ(multibeam.soundVelocity, 1500.0);
  EXPECT_EQ(multibeam.arrayMask, 0x14238u);
  EXPECT_EQ(multibeam.beamCapacity, 0u);
  EXPECT_EQ(multibeam.relTime, INT32_MIN);

  const quor::SidescanRec sidescan;
  EXPECT_EQ(sidescan.pingNumber, -1);
  EXPECT_EQ(sidescan.soundVelocity, 1500.0f);

  const quor::ParameterRec parameter;
  EXPECT_EQ(parameter.extraFlag, 1);
  EXPECT_EQ(parameter.factor1, 1.0f);
  EXPECT_EQ(parameter.factor3, 1.0f);
  EXPECT_EQ(parameter.name.length, 0);
}

TEST(SurveyRecords, LongSensorNameIsCutTo255WithLengthByte) {
  quor::ParameterRec parameter;
  const std::string name(300, 'n');
  parameter.name.Assign(name);
  EXPECT_EQ(parameter.name.length, 255);
  EXPECT_EQ(parameter.name.View(), name.substr(0, 255));
  EXPECT_EQ(parameter.name.text[255], '\0');
  parameter.name.Assign("XSE MRU");
  EXPECT_EQ(parameter.name.View(), "XSE MRU");
  EXPECT_EQ(parameter.name.text[7], '\0') << "shorter name must be NUL-padded";
}

TEST(SurveyRecords, CopiedMultibeamOwnsItsOwnArrays) {
  quor::MultibeamRec original;
  original.Reallocate(0x143F8, 3);
  original.depth[1] = 42.0f;
  original.quality[2] = 7;
  quor::MultibeamRec copy(original);
  ASSERT_NE(copy.depth.get(), original.depth.get());
  EXPECT_EQ(copy.depth[1], 42.0f);
  EXPECT_EQ(copy.quality[2], 7);
  EXPECT_EQ(copy.extraShorts, nullptr) << "extraShorts is not in the mask";
  original.depth[1] = 1.0f;
  EXPECT_EQ(copy.depth[1], 42.0f);

  quor::MultibeamRec assigned;
  assigned = original;
  EXPECT_NE(assigned.depth.get(), original.depth.get());
  EXPECT_EQ(assigned.beamCapacity, 3u);
}

TEST(SurveyRecords, CopiedSidescanOwnsItsSamples) {
  quor::SidescanRec original;
  original.samples = std::make_unique<float[]>(4);
  original.sampleCapacity = 4;
  original.sampleCount = 4;
  original.samples[3] = 9.0f;
  const quor::SidescanRec copy = original;
  EXPECT_NE(copy.samples.get(), original.samples.get());
  EXPECT_EQ(copy.samples[3], 9.0f);
}

class MultibeamOnlyTarget final : public quor::ISurveyTarget {
 public:
  void HandleMultibeam(const quor::MultibeamRec&) override { ++pings; }
  int pings = 0;
};

TEST(SurveyTarget, HandlersNotOverriddenDoNothing) {
  MultibeamOnlyTarget target;
  quor::ISurveyTarget& consumer = target;
  consumer.HandleStartTime({});
  consumer.HandleGyro({});
  consumer.HandlePosition({});
  consumer.HandleMultibeam({});
  EXPECT_EQ(target.pings, 1);
}

}  // namespace
