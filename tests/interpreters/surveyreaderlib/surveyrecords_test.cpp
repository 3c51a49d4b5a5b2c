#include "interpreters/surveyreaderlib/surveyrecords.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The cut of long names is pinned by the mounting test of the decoder.
TEST(SurveyRecords, ShorterNameIsNulPaddedOverALongerOne) {
  quor::ParameterRec parameter;
  parameter.name.Assign(std::string(300, 'n'));
  EXPECT_EQ(parameter.name.text[255], '\0');
  parameter.name.Assign("XSE MRU");
  EXPECT_EQ(parameter.name.View(), "XSE MRU");
  EXPECT_EQ(parameter.name.text[7], '\0');
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
