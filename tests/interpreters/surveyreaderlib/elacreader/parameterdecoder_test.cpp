#include "interpreters/surveyreaderlib/elacreader/parameterdecoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "grouptestsupport.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "support/recordingtarget.h"
#include "tools/framewriter/xsegroups.h"

namespace {

using quor::ParameterRec;
using ::testing::ElementsAre;
using xsetest::RecordingTarget;
using xsewriter::FrameWriter;

using GroupWriter = std::function<void(FrameWriter&)>;

constexpr double kDegrees = 57.29577951308232;
constexpr int32_t kUnixSeconds = 1660867200;

std::vector<ParameterRec> Parameters(const RecordingTarget& target) {
  std::vector<ParameterRec> records;
  for (size_t i = 0; i < target.Count<ParameterRec>(); ++i)
    records.push_back(*target.Nth<ParameterRec>(i));
  return records;
}

std::vector<ParameterRec> DecodeParameterFrame(bool bigEndian, const GroupWriter& groups) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  EXPECT_TRUE(
      reader.DecodeFrameBytes(xsetest::WriteFrame(bigEndian, elac::kParameterFrame, groups)));
  return Parameters(target);
}

ParameterRec Device(int32_t id, int32_t kind) {
  ParameterRec record;
  record.deviceId = id;
  record.sensorKind = kind;
  return record;
}

bool DecodeDevices(const GroupWriter& write, std::vector<ParameterRec>& params) {
  const auto body = xsetest::WriteGroupBody(false, write);
  return elac::DecodeDeviceGroup(xsetest::Cursor(body, false), params);
}

// What identifies a record: name, kind, fieldMask, valid, device id.
std::vector<std::string> Summaries(const std::vector<ParameterRec>& records) {
  std::vector<std::string> summaries;
  for (const auto& r : records) {
    char text[320];
    std::snprintf(text, sizeof text, "%s|%d|%#x|%d|%d", std::string(r.name.View()).c_str(),
                  r.sensorKind, r.fieldMask, r.valid, r.deviceId);
    summaries.emplace_back(text);
  }
  return summaries;
}

class InstallationFrameTest : public ::testing::TestWithParam<bool> {};

TEST_P(InstallationFrameTest, InstallationGroupGivesPositionMruAndHeadingRecords) {
  const xsewriter::Installation9 values{0.1, -0.2, 3.5, 0.01, 0.0125, {1, 2, 3}, {4, 5, 6}};
  const auto records = DecodeParameterFrame(
      GetParam(), [&](FrameWriter& w) { xsewriter::PutInstallationGroup(w, values); });
  // Three at once, then the frame's one device element after the last group.
  EXPECT_THAT(Summaries(records), ElementsAre("XSE Position|6|0x7|1|0", "XSE MRU|2|0x187|1|0",
                                              "XSE Heading|5|0x80|1|0", "|0|0|0|0"));
  ASSERT_EQ(records.size(), 4u);
  const auto& position = records[0];
  EXPECT_EQ(position.latencyMs, 13);
  EXPECT_THAT((std::array{position.offsetX, position.offsetY, position.offsetZ}),
              ElementsAre(-1, 2, 3));
  EXPECT_EQ(position.time, (quor::timeval{kUnixSeconds, 0}));
  EXPECT_EQ(position.relTime, 0);
  const auto& mru = records[1];
  EXPECT_DOUBLE_EQ(mru.angleOffset1, 0.1 * kDegrees);
  EXPECT_DOUBLE_EQ(mru.angleOffset2, -0.2 * kDegrees);
  EXPECT_EQ(mru.angleOffset3, 3.5);
  EXPECT_THAT((std::array{mru.offsetX, mru.offsetY, mru.offsetZ}), ElementsAre(-4, 5, 6));
  EXPECT_NEAR(records[2].angleOffset1, 0.5730, 1e-4);
  EXPECT_EQ(records[2].time, position.time);
}

TEST_P(InstallationFrameTest, TransducerInstallationAddsPortAndStarboard) {
  const xsewriter::Installation8 values{0.25f,      0,    -0.5f, 0.02f,     {1, 2, 3},
                                        {-1, 2, 3}, 0.5f, -0.5f, {7, 8, 9}, {10, 11, 12}};
  const auto records = DecodeParameterFrame(
      GetParam(), [&](FrameWriter& w) { xsewriter::PutTransducerInstallationGroup(w, values); });
  EXPECT_THAT(Summaries(records),
              ElementsAre("XSE Position|6|0x7|1|0", "XSE MRU|2|0x187|1|0", "XSE Heading|5|0x80|1|0",
                          "XSE Port Transducer|16|0x3f|1|0", "XSE Stbd Transducer|17|0x3f|0|0",
                          "|0|0|0|0"));
  ASSERT_EQ(records.size(), 6u);
  EXPECT_EQ(records[0].latencyMs, 20);
  EXPECT_EQ(records[0].offsetX, -7.0);
  EXPECT_DOUBLE_EQ(records[1].angleOffset1, double{0.25f} * kDegrees);
  EXPECT_EQ(records[1].angleOffset3, 0.0);
  EXPECT_EQ(records[1].offsetY, 11.0);
  EXPECT_DOUBLE_EQ(records[2].angleOffset1, double{-0.5f} * kDegrees);
  const auto& port = records[3];
  const auto& starboard = records[4];
  EXPECT_THAT((std::array{port.offsetX, starboard.offsetX}), ElementsAre(-1, 1));
  EXPECT_DOUBLE_EQ(port.mountAngle1, 0.5 * kDegrees);
  EXPECT_DOUBLE_EQ(starboard.mountAngle1, -0.5 * kDegrees);
  EXPECT_EQ(port.mountAngle2, 0.0);
}

TEST_P(InstallationFrameTest, DeviceListClassifiesTransducersAndOtherDevices) {
  const auto records = DecodeParameterFrame(GetParam(), [](FrameWriter& w) {
    const uint32_t ids[] = {11, 12, 13, 14}, codes[] = {1000, 4000, 2000, 5000};
    xsewriter::PutDeviceListGroup(w, ids, codes);
  });
  EXPECT_THAT(Summaries(records),
              ElementsAre("|16|0x3000|1|11", "|256|0|1|12", "|17|0x3000|1|13", "|0|0|0|14"));
  ASSERT_EQ(records.size(), 4u);
  EXPECT_EQ(records[1].deviceType, 4000);
  EXPECT_EQ(records[3].deviceType, 5000);
}

TEST_P(InstallationFrameTest, RepeatedMountingIdentifierKeepsTheEarlierEntryInACopy) {
  const auto records = DecodeParameterFrame(GetParam(), [](FrameWriter& w) {
    const uint32_t ids[] = {7, 9}, codes[] = {1000, 2000};
    xsewriter::PutDeviceListGroup(w, ids, codes);
    const xsewriter::MountingEntry entries[] = {{7, 1, {0.1, 0, 0}, {1, 2, 3}},
                                                {7, 0, {0.2, 0, 0}, {4, 5, 6}}};
    xsewriter::PutMountingGroup(w, entries);
  });
  EXPECT_THAT(Summaries(records),
              ElementsAre("RX_|17|0x303f|1|7", "|17|0x3000|1|9", "|16|0x303f|1|7"));
  ASSERT_EQ(records.size(), 3u);
  EXPECT_DOUBLE_EQ(records[0].mountAngle1, 0.2 * kDegrees);
  EXPECT_EQ(records[0].offsetX, -4.0);
  EXPECT_DOUBLE_EQ(records[2].mountAngle1, 0.1 * kDegrees);
  EXPECT_EQ(records[2].offsetX, -1.0);
}

INSTANTIATE_TEST_SUITE_P(BothByteOrders, InstallationFrameTest, ::testing::Bool(),
                         [](const auto& p) { return p.param ? "Big" : "Little"; });

TEST(ParameterDecoder, DraftIsDeliveredAtOnceAndKeepsWhatItDoesNotName) {
  RecordingTarget target;
  ElacReader reader(&target, 0);
  const xsewriter::Installation9 installation{0, 0, 0, 0, 0.0125, {1, 2, 3}, {}};
  ASSERT_TRUE(
      reader.DecodeFrameBytes(xsetest::WriteFrame(true, elac::kParameterFrame, [&](FrameWriter& w) {
        xsewriter::PutInstallationGroup(w, installation);
      })));
  target.calls.clear();
  ASSERT_TRUE(
      reader.DecodeFrameBytes(xsetest::WriteFrame(true, elac::kParameterFrame, [](FrameWriter& w) {
        xsewriter::PutDraftGroup(w, 4.2, 12);
        xsetest::PutZeroGroup(w, 99, 4);
      })));
  // The draft comes first, the device element only after the last group.
  EXPECT_THAT(Summaries(Parameters(target)), ElementsAre("XSE Draft|8|0|1|0", "|0|0|0|0"));
  const auto& draft = std::get<ParameterRec>(target.calls[0]);
  EXPECT_THAT((std::array{draft.offsetX, draft.offsetY, draft.offsetZ}), ElementsAre(0, 0, -4.2));
  EXPECT_EQ(draft.latencyMs, 13) << "left from the position record it rewrote";
}

struct LatencyCase {
  const char* name;
  bool singlePrecision;  // group 8 instead of group 9
  double delaySeconds;
  int32_t milliseconds;
};

class LatencyTest : public ::testing::TestWithParam<LatencyCase> {};

TEST_P(LatencyTest, DelayBecomesMillisecondsRoundedHalfAwayFromZero) {
  const auto& param = GetParam();
  const auto body = xsetest::WriteGroupBody(true, [&param](FrameWriter& w) {
    if (param.singlePrecision) {
      xsewriter::Installation8 values;
      values.positionDelay = static_cast<float>(param.delaySeconds);
      xsewriter::PutTransducerInstallationGroup(w, values);
    } else {
      xsewriter::Installation9 values;
      values.positionDelay = param.delaySeconds;
      xsewriter::PutInstallationGroup(w, values);
    }
  });
  std::vector<ParameterRec> params(1);
  ASSERT_TRUE(elac::DecodeInstallationGroup(xsetest::Cursor(body), params));
  EXPECT_EQ(params[0].latencyMs, param.milliseconds);
}

constexpr double kHuge = 1e12;

INSTANTIATE_TEST_SUITE_P(
    Delays, LatencyTest,
    ::testing::Values(
        LatencyCase{"HalfUp", false, 0.0125, 13}, LatencyCase{"HalfDown", false, -0.0125, -13},
        LatencyCase{"BelowHalf", false, 0.0124, 12}, LatencyCase{"Zero", false, 0.0, 0},
        LatencyCase{"NaN", false, std::numeric_limits<double>::quiet_NaN(), 0},
        LatencyCase{"Huge", false, kHuge, std::numeric_limits<int32_t>::max()},
        LatencyCase{"HugeNegative", false, -kHuge, std::numeric_limits<int32_t>::min()},
        // 0.0025f is just below 0.0025: widened first it would give 2.
        LatencyCase{"SingleProductRoundsUp", true, 0.0025, 3},
        LatencyCase{"SingleProductRoundsDown", true, -0.0025, -3},
        LatencyCase{"SingleHuge", true, kHuge, std::numeric_limits<int32_t>::max()}),
    [](const auto& p) { return p.param.name; });

struct SizeCase {
  const char* name;
  uint32_t type;
  uint32_t blockLength;  // draft only
  size_t bodySize;
  bool accepted;
};

class InstallationSizeTest : public ::testing::TestWithParam<SizeCase> {};

TEST_P(InstallationSizeTest, OnlyTheExactGroupSizeIsAccepted) {
  const auto& param = GetParam();
  const auto body = xsetest::WriteGroupBody(false, [&param](FrameWriter& w) {
    w.BeginGroup(param.type);
    size_t written = 4;
    if (param.type == elac::kDraftGroup) {
      w.PutU32(param.blockLength);
      written += 4;
    }
    for (; written < param.bodySize; ++written) w.PutU8(0);
    w.EndGroup();
  });
  ASSERT_EQ(body.size(), param.bodySize);
  std::vector<ParameterRec> params = {Device(0, 99)};
  EXPECT_EQ(elac::DecodeInstallationGroup(xsetest::Cursor(body, false), params), param.accepted);
  if (!param.accepted) {
    ASSERT_EQ(params.size(), 1u);
    EXPECT_EQ(params[0].sensorKind, 99);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, InstallationSizeTest,
    ::testing::Values(
        SizeCase{"Installation92", 9, 0, 92, true}, SizeCase{"Installation88", 9, 0, 88, false},
        SizeCase{"Installation96", 9, 0, 96, false}, SizeCase{"Transducers76", 8, 0, 76, true},
        SizeCase{"Transducers72", 8, 0, 72, false}, SizeCase{"Transducers80", 8, 0, 80, false},
        SizeCase{"DraftExact", 1, 8, 64, true}, SizeCase{"DraftShort", 1, 8, 63, false},
        SizeCase{"DraftLong", 1, 8, 65, false},
        SizeCase{"DraftLengthWrapsAround", 1, 0xFFFFFFF0u, 40, false},
        SizeCase{"NotAnInstallationGroup", 4, 0, 92, false}),
    [](const auto& p) { return p.param.name; });

xsewriter::MountingEntry Mount(uint32_t id, double angle, uint8_t transmit = 1) {
  return {id, transmit, {angle, 0, 0}, {angle, 0, 0}};
}

TEST(ParameterDecoder, MountingMatchesAnyNumberOfDevicesAndRepeats) {
  std::vector<ParameterRec> params;
  std::vector<xsewriter::MountingEntry> entries;
  for (int32_t id = 0; id < 100; ++id) {
    params.push_back(Device(id, 0));
    entries.push_back(Mount(static_cast<uint32_t>(id), 0.1));
    entries.push_back(Mount(static_cast<uint32_t>(id), 0.2));
  }
  ASSERT_TRUE(
      DecodeDevices([&](FrameWriter& w) { xsewriter::PutMountingGroup(w, entries); }, params));
  ASSERT_EQ(params.size(), 200u);
  for (size_t i = 0; i < 200; ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(params[i].deviceId, static_cast<int32_t>(i % 100));
    EXPECT_EQ(params[i].fieldMask, 0x3Fu);
    EXPECT_DOUBLE_EQ(params[i].mountAngle1, (i < 100 ? 0.2 : 0.1) * kDegrees);
  }
}

TEST(ParameterDecoder, MountingStopsCopyingAtTheRecordLimit) {
  std::vector<ParameterRec> params;
  for (size_t id = 0; id <= elac::kMaxDeviceRecords; ++id)
    params.push_back(Device(static_cast<int32_t>(id), 0));
  const xsewriter::MountingEntry entries[] = {
      Mount(5, 0.1), Mount(5, 0.2), Mount(static_cast<uint32_t>(elac::kMaxDeviceRecords), 0.3)};
  ASSERT_TRUE(
      DecodeDevices([&](FrameWriter& w) { xsewriter::PutMountingGroup(w, entries); }, params));
  EXPECT_EQ(params.size(), elac::kMaxDeviceRecords + 1);
  EXPECT_DOUBLE_EQ(params[5].mountAngle1, 0.1 * kDegrees) << "the repeat is ignored";
  EXPECT_EQ(params.back().fieldMask, 0u) << "elements past the limit take no part";
}

TEST(ParameterDecoder, ReceivingUsePrefixesTheNameWithinItsLength) {
  std::vector<ParameterRec> params = {Device(1, 16), Device(2, 17), Device(3, 16)};
  params[0].name.Assign(std::string(254, 'a'));
  params[1].name.Assign("keep");
  const xsewriter::MountingEntry entries[] = {Mount(1, 0, 0), Mount(2, 0, 0), Mount(3, 0, 1),
                                              Mount(4, 0, 0)};
  ASSERT_TRUE(
      DecodeDevices([&](FrameWriter& w) { xsewriter::PutMountingGroup(w, entries); }, params));
  EXPECT_EQ(params[0].sensorKind, 17);
  EXPECT_EQ(params[0].name.View(), "RX_" + std::string(252, 'a'));
  EXPECT_EQ(params[1].name.View(), "keep");
  EXPECT_EQ(params[2].sensorKind, 16);
  EXPECT_EQ(params.size(), 3u) << "an unknown identifier is ignored";

  std::vector<ParameterRec> none;
  EXPECT_FALSE(
      DecodeDevices([&](FrameWriter& w) { xsewriter::PutMountingGroup(w, entries); }, none));
}

struct StatusCase {
  const char* name;
  std::vector<xsewriter::DeviceStatus> entries;
  std::vector<int32_t> kinds;
  std::vector<uint32_t> masks;
  bool decoded;
};

class DeviceStatusTest : public ::testing::TestWithParam<StatusCase> {};

TEST_P(DeviceStatusTest, StatusTwoSetsTheFlagOfTheTransducerOfThatPosition) {
  const auto& param = GetParam();
  std::vector<ParameterRec> params;
  for (int32_t kind : param.kinds) params.push_back(Device(0, kind));
  EXPECT_EQ(
      DecodeDevices([&](FrameWriter& w) { xsewriter::PutStatusGroup(w, param.entries); }, params),
      param.decoded);
  std::vector<uint32_t> masks;
  for (const auto& record : params) masks.push_back(record.fieldMask);
  EXPECT_EQ(masks, param.masks);
}

INSTANTIATE_TEST_SUITE_P(
    Entries, DeviceStatusTest,
    ::testing::Values(
        StatusCase{"FirstAndThird", {{2, 0, 2}}, {16}, {0x5000}, true},
        StatusCase{"ByPosition", {{0, 0, 0}, {1, 2, 3}}, {16, 17, 256}, {0, 0x2000, 0}, true},
        StatusCase{"EveryElementOfTheKind", {{2, 2, 2}}, {16, 16}, {0x7000, 0x7000}, true},
        StatusCase{"NoTransducerMatches", {{2, 2, 2}}, {17, 256, 0}, {0, 0, 0}, false},
        StatusCase{"NoEntries", {}, {16}, {0}, false}),
    [](const auto& p) { return p.param.name; });

struct RejectedDeviceCase {
  const char* name;
  GroupWriter write;
};

class RejectedDeviceGroupTest : public ::testing::TestWithParam<RejectedDeviceCase> {};

TEST_P(RejectedDeviceGroupTest, IsDroppedWholeAndChangesNothing) {
  std::vector<ParameterRec> params = {Device(7, 16)};
  EXPECT_FALSE(DecodeDevices(GetParam().write, params));
  ASSERT_EQ(params.size(), 1u);
  EXPECT_EQ(params[0].fieldMask, 0u);
  EXPECT_EQ(params[0].sensorKind, 16);
  EXPECT_EQ(params[0].deviceId, 7);
}

// A group of `type` with a count and `fill` bytes of 0x02 behind it.
GroupWriter Counted(uint32_t type, uint32_t count, size_t fill) {
  return [=](FrameWriter& w) {
    w.BeginGroup(type);
    w.PutU32(count);
    for (size_t i = 0; i < fill; ++i) w.PutU8(2);
    w.EndGroup();
  };
}

GroupWriter MountingOf(std::vector<xsewriter::MountingEntry> entries, uint32_t count) {
  return [=](FrameWriter& w) {
    xsewriter::PutMountingGroup(w, entries);
    // Patch E, the first word after the type.
    const size_t at = w.bytes().size() - 4 - 90 * entries.size() - 4;
    for (int i = 0; i < 4; ++i)
      w.bytes()[at + static_cast<size_t>(i)] = static_cast<uint8_t>(count >> (8 * i));
  };
}

constexpr auto kTooMany = static_cast<uint32_t>(elac::kMaxDeviceRecords + 1);

INSTANTIATE_TEST_SUITE_P(
    Damaged, RejectedDeviceGroupTest,
    ::testing::Values(
        RejectedDeviceCase{"DeviceListPastTheGroup", Counted(4, 3, 16)},
        RejectedDeviceCase{"DeviceListAboveLimit", Counted(4, kTooMany, 8 * kTooMany)},
        RejectedDeviceCase{"MountingPastTheGroup", MountingOf({Mount(7, 0.1, 0)}, 2)},
        RejectedDeviceCase{"MountingAboveLimit", Counted(10, kTooMany, 90 * kTooMany)},
        RejectedDeviceCase{"StatusPastTheGroup", Counted(11, 2, 5)},
        RejectedDeviceCase{"StatusCountHuge", Counted(11, 0xFFFFFFFF, 3)},
        RejectedDeviceCase{"NotADeviceGroup", Counted(12, 1, 8)},
        RejectedDeviceCase{"TypeCut",
                           [](FrameWriter& w) {
                             w.PutU32(elac::kGroupStart);
                             w.PutU32(2);
                             w.PutU16(4);
                             w.PutU32(elac::kGroupEnd);
                           }}),
    [](const auto& p) { return p.param.name; });

TEST(ParameterDecoder, DeviceListAtTheLimitIsAccepted) {
  std::vector<ParameterRec> params(1);
  ASSERT_TRUE(DecodeDevices(
      Counted(4, static_cast<uint32_t>(elac::kMaxDeviceRecords), 8 * elac::kMaxDeviceRecords),
      params));
  EXPECT_EQ(params.size(), elac::kMaxDeviceRecords);
}

}  // namespace
