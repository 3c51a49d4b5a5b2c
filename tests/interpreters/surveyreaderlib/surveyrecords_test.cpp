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

// Copies own their arrays. Assignment keeps the target's arrays when they
// hold as many values as the source's (a slot refilled frame after frame);
// otherwise it takes the source's shape, missing arrays included.
TEST(SurveyRecords, CopiesOwnTheirArraysAndAssignmentReusesThoseOfTheSameCapacity) {
  using MB = quor::MultibeamRec;
  MB source, target;
  source.Reallocate(MB::kDepth | MB::kQuality, 3);
  target.Reallocate(MB::kDepth | MB::kTravelTime, 3);
  const float* kept = target.depth.get();
  source.depth[2] = 5.0f;
  source.quality[1] = 7;
  target = source;
  MB copy(source);
  source.depth[2] = 1.0f;
  for (const MB* record : {&target, &copy}) {
    EXPECT_EQ(record->depth[2], 5.0f);
    ASSERT_NE(record->quality, nullptr);
    EXPECT_EQ(record->quality[1], 7);
    EXPECT_EQ(record->travelTime, nullptr) << "the source has none";
  }
  EXPECT_EQ(target.depth.get(), kept);
  source.Reallocate(MB::kDepth, 8);
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
  const quor::SidescanRec copied = sidescan;
  sidescan.samples[0] = 1.0f;
  EXPECT_EQ(slot.samples.get(), slotSamples);
  EXPECT_EQ(slot.samples[0], 3.0f);
  EXPECT_EQ(copied.samples[0], 3.0f);
}

}  // namespace
