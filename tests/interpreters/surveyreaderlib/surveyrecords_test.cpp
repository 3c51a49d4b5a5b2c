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

TEST(SurveyRecords, CopiedRecordsOwnTheirOwnArrays) {
  quor::MultibeamRec original;
  original.Reallocate(0x143F8, 3);
  original.depth[1] = 42.0f;
  original.quality[2] = 7;
  quor::MultibeamRec copy(original), assigned;
  assigned = original;
  original.depth[1] = 1.0f;
  for (const auto* record : {&copy, &assigned}) {
    EXPECT_EQ(record->depth[1], 42.0f);
    EXPECT_EQ(record->quality[2], 7);
    EXPECT_EQ(record->beamCapacity, 3u);
    EXPECT_EQ(record->extraShorts, nullptr) << "extraShorts is not in the mask";
  }
  quor::SidescanRec sidescan;
  sidescan.samples = std::make_unique<float[]>(4);
  sidescan.sampleCapacity = sidescan.sampleCount = 4;
  sidescan.samples[3] = 9.0f;
  const quor::SidescanRec sidescanCopy = sidescan;
  sidescan.samples[3] = 1.0f;
  EXPECT_EQ(sidescanCopy.samples[3], 9.0f);
}

}  // namespace
