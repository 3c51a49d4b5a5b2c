#include "interpreters/surveyreaderlib/surveyrecords.h"

#include <gtest/gtest.h>

#include <string>

namespace {

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
  quor::MultibeamRec assigned;
  assigned = original;
  original.depth[1] = 1.0f;
  for (const auto* record : {&copy, &assigned}) {
    EXPECT_NE(record->depth.get(), original.depth.get());
    EXPECT_EQ(record->depth[1], 42.0f);
    EXPECT_EQ(record->quality[2], 7);
    EXPECT_EQ(record->beamCapacity, 3u);
    EXPECT_EQ(record->extraShorts, nullptr) << "extraShorts is not in the mask";
  }
}

TEST(SurveyRecords, CopiedSidescanOwnsItsSamples) {
  quor::SidescanRec original;
  original.samples = std::make_unique<float[]>(4);
  original.sampleCapacity = 4;
  original.sampleCount = 4;
  original.samples[3] = 9.0f;
  const quor::SidescanRec copy = original;
  original.samples[3] = 1.0f;
  EXPECT_NE(copy.samples.get(), original.samples.get());
  EXPECT_EQ(copy.samples[3], 9.0f);
}

}  // namespace
