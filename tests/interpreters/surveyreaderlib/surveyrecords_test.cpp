#include "xsereader/surveyrecords.h"

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

// Assignment keeps the target's arrays when they hold as many values as the
// source's (a slot refilled frame after frame); otherwise it takes the
// source's shape, missing arrays included.
TEST(SurveyRecords, AssignmentReusesArraysOfTheSameCapacityOnly) {
  quor::MultibeamRec source, target;
  source.Reallocate(quor::MultibeamRec::kDepth | quor::MultibeamRec::kQuality, 3);
  target.Reallocate(quor::MultibeamRec::kDepth | quor::MultibeamRec::kTravelTime, 3);
  const float* kept = target.depth.get();
  source.depth[2] = 5.0f;
  target = source;
  EXPECT_EQ(target.depth.get(), kept);
  EXPECT_EQ(target.depth[2], 5.0f);
  EXPECT_EQ(target.travelTime, nullptr) << "the source has none";
  ASSERT_NE(target.quality, nullptr);
  source.Reallocate(quor::MultibeamRec::kDepth, 8);
  source.beamCount = 6;
  target = source;
  EXPECT_EQ(target.beamCapacity, 8u);
  EXPECT_EQ(target.beamCount, 6u);
  EXPECT_EQ(target.quality, nullptr);
  EXPECT_EQ(target.depth[7], 0.0f) << "a new array of the source's capacity";

  quor::SidescanRec sidescan, slot;
  for (auto* record : {&sidescan, &slot}) {
    record->samples = std::make_unique<float[]>(4);
    record->sampleCapacity = record->sampleCount = 4;
  }
  sidescan.samples[0] = 3.0f;
  const float* slotSamples = slot.samples.get();
  slot = sidescan;
  EXPECT_EQ(slot.samples.get(), slotSamples);
  EXPECT_EQ(slot.samples[0], 3.0f);
}

}  // namespace
