#include "interpreters/surveyreaderlib/elacreader/parameterdecoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <initializer_list>
#include <limits>
#include <sstream>
#include <string>
#include <tuple>
#include <utility>
#include <variant>

#include "grouptestsupport.h"

namespace {

using quor::ParameterRec;
using ::testing::DoubleEq;
using ::testing::ElementsAre;
using xsetest::Group;
using xsetest::GroupWriter;
using xsetest::Put;
using xsewriter::FrameWriter;
using Params = std::vector<ParameterRec>;

constexpr double kDegrees = 57.29577951308232;

// The records that one reader delivers for parameter frames of these groups.
Params ParametersOf(std::endian order, std::initializer_list<std::vector<GroupWriter>> frames) {
  xsetest::RecordingTarget target;
  ElacReader reader(&target, 0);
  for (const auto& groups : frames)
    EXPECT_TRUE(reader.DecodeFrameBytes(xsetest::FrameOf(order, elac::kParameterFrame, groups)));
  Params records;
  for (const auto& call : target.calls)
    if (const auto* record = std::get_if<ParameterRec>(&call)) records.push_back(*record);
  return records;
}

ParameterRec Device(int32_t id, int32_t kind) {
  ParameterRec record;
  record.deviceId = id;
  record.sensorKind = kind;
  return record;
}

bool DecodeDevices(const GroupWriter& write, Params& params) {
  return xsetest::DecodeGroup(elac::DecodeDeviceGroup, write, params, std::endian::little);
}

// What identifies a record: name, kind, fieldMask, valid, device id.
std::vector<std::string> Summaries(const Params& records) {
  std::vector<std::string> summaries;
  for (const auto& r : records) {
    std::ostringstream text;
    text << r.name.View() << '|' << r.sensorKind << '|' << std::hex << std::showbase << r.fieldMask
         << std::dec << '|' << r.valid << '|' << r.deviceId;
    summaries.push_back(text.str());
  }
  return summaries;
}

std::array<double, 3> LeverArm(const ParameterRec& r) { return {r.offsetX, r.offsetY, r.offsetZ}; }
std::array<double, 3> Angles(const ParameterRec& r) {
  return {r.angleOffset1, r.angleOffset2, r.angleOffset3};
}

GroupWriter Installation(const xsewriter::Installation9& values) {
  return Put(xsewriter::PutInstallationGroup, values);
}

GroupWriter Mounting(std::vector<xsewriter::MountingEntry> entries) {
  return Put(xsewriter::PutMountingGroup, entries);
}

xsewriter::MountingEntry Mount(uint32_t id, double angle, uint8_t transmit = 1) {
  return {id, transmit, {angle, 0, 0}, {angle, 0, 0}};
}

// A later draft rewrites the first element in place: what it does not name,
// such as the latency, stays from the position record.
TEST(ParameterDecoder, InstallationGivesPositionMruAndHeadingAndADraftRewritesTheFirst) {
  const auto records = ParametersOf(
      std::endian::big, {{Installation({0.1, -0.2, 3.5, 0.01, 0.0125, {1, 2, 3}, {4, 5, 6}})},
                         {Put(xsewriter::PutDraftGroup, 4.2, 12u), Group(99, {}, 4)}});
  // Three at once, then the frame's one device element after the last group.
  ASSERT_THAT(Summaries(records),
              ElementsAre("XSE Position|6|0x7|1|0", "XSE MRU|2|0x187|1|0", "XSE Heading|5|0x80|1|0",
                          "|0|0|0|0", "XSE Draft|8|0|1|0", "|0|0|0|0"));
  EXPECT_EQ(records[0].latencyMs, 13);
  EXPECT_THAT(LeverArm(records[0]), ElementsAre(-1, 2, 3));
  EXPECT_EQ(records[0].time, (quor::timeval{xsetest::kUnixSeconds, 0}));
  EXPECT_THAT(Angles(records[1]), ElementsAre(DoubleEq(0.1 * kDegrees), DoubleEq(-0.2 * kDegrees),
                                              3.5));  // the third is taken as it is
  EXPECT_THAT(LeverArm(records[1]), ElementsAre(-4, 5, 6));
  EXPECT_NEAR(records[2].angleOffset1, 0.5730, 1e-4);
  EXPECT_THAT(LeverArm(records[4]), ElementsAre(0, 0, -4.2));
  EXPECT_EQ(records[4].latencyMs, 13) << "left from the position record it rewrote";
}

TEST(ParameterDecoder, TransducerInstallationAddsPortAndStarboard) {
  const xsewriter::Installation8 values{0.25f,      0,    -0.5f, 0.0025f,   {1, 2, 3},
                                        {-1, 2, 3}, 0.5f, -0.5f, {7, 8, 9}, {10, 11, 12}};
  const auto records =
      ParametersOf(std::endian::little, {{Put(xsewriter::PutTransducerInstallationGroup, values)}});
  ASSERT_THAT(Summaries(records),
              ElementsAre("XSE Position|6|0x7|1|0", "XSE MRU|2|0x187|1|0", "XSE Heading|5|0x80|1|0",
                          "XSE Port Transducer|16|0x3f|1|0", "XSE Stbd Transducer|17|0x3f|0|0",
                          "|0|0|0|0"));
  // 0.0025f is just below 0.0025: widened before the product it would give 2.
  EXPECT_EQ(records[0].latencyMs, 3);
  EXPECT_EQ(records[0].offsetX, -7.0);
  EXPECT_DOUBLE_EQ(records[1].angleOffset1, double{0.25f} * kDegrees);
  EXPECT_EQ(records[1].offsetY, 11.0);
  EXPECT_DOUBLE_EQ(records[2].angleOffset1, double{-0.5f} * kDegrees);
  EXPECT_THAT((std::array{records[3].offsetX, records[4].offsetX}), ElementsAre(-1, 1));
  EXPECT_THAT((std::array{records[3].mountAngle1, records[4].mountAngle1}),
              ElementsAre(DoubleEq(0.5 * kDegrees), DoubleEq(-0.5 * kDegrees)));
}

TEST(ParameterDecoder, DeviceListClassifiesAndMountingRepeatsKeepTheEarlierEntryInACopy) {
  const uint32_t ids[] = {11, 12, 13, 14}, codes[] = {1000, 4000, 2000, 5000};
  // The unknown identifier 99 is ignored.
  const auto records = ParametersOf(
      std::endian::big,
      {{[&](FrameWriter& w) { xsewriter::PutDeviceListGroup(w, ids, codes); },
        Mounting(
            {{11, 1, {0.1, 0, 0}, {1, 2, 3}}, {99, 0, {}, {}}, {11, 0, {0.2, 0, 0}, {4, 5, 6}}})}});
  ASSERT_THAT(Summaries(records), ElementsAre("RX_|17|0x303f|1|11", "|256|0|1|12",
                                              "|17|0x3000|1|13", "|0|0|0|14", "|16|0x303f|1|11"));
  EXPECT_EQ(records[3].deviceType, 5000);
  EXPECT_DOUBLE_EQ(records[0].mountAngle1, 0.2 * kDegrees);
  EXPECT_EQ(records[0].offsetX, -4.0);
  EXPECT_DOUBLE_EQ(records[4].mountAngle1, 0.1 * kDegrees);
  EXPECT_EQ(records[4].offsetX, -1.0);
}

// Halves away from zero are pinned by the installation tests.
TEST(ParameterDecoder, DelayBecomesMillisecondsRoundedHalfAwayFromZero) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
  const std::pair<double, int32_t> kCases[] = {
      {-0.0125, -13}, {kNaN, 0}, {1e12, kMax}, {-1e12, -kMax - 1}};
  Params params(1);
  for (const auto& [seconds, milliseconds] : kCases) {
    ASSERT_TRUE(xsetest::DecodeGroup(elac::DecodeInstallationGroup,
                                     Installation({.positionDelay = seconds}), params));
    EXPECT_EQ(params[0].latencyMs, milliseconds) << seconds;
  }
}

// A group rejected by its decoder changes nothing. Bodies here are the type
// word, the words given and then zeros.
TEST(ParameterDecoder, OnlyGroupsWhoseSizesAndCountsHoldAreDecoded) {
  using Decoder = bool (*)(elac::ByteCursor, Params&);
  constexpr Decoder kInst = elac::DecodeInstallationGroup, kDev = elac::DecodeDeviceGroup;
  constexpr auto kTooMany = static_cast<uint32_t>(elac::kMaxDeviceRecords + 1);
  const std::tuple<Decoder, GroupWriter, bool> kCases[] = {
      // Installation groups of exactly 92 (9) and 76 (8) bytes, draft L + 56.
      {kInst, Group(9, {}, 92), false},
      {kInst, Group(8, {}, 76), false},
      {kInst, Group(1, {8}, 57), false},
      {kInst, Group(1, {0xFFFFFFF0u}, 32), false},  // L + 56 wraps
      {kInst, Group(4, {}, 88), false},
      // Counts that run past the group or above the record limit.
      {kDev, Group(4, {3}, 16), false},
      {kDev, Group(4, {kTooMany}, 8 * kTooMany), false},
      {kDev, Group(4, {kTooMany - 1}, 8 * (kTooMany - 1)), true},  // at the limit
      {kDev, Group(10, {2, 7}, 86), false},                        // one receiving entry of two
      {kDev, Group(10, {kTooMany}, 90 * kTooMany), false},
      {kDev, Group(11, {0xFFFFFFFF}, 3), false},
      {kDev, Group(12, {1}, 8), false}};
  int row = 0;
  for (const auto& [decode, group, accepted] : kCases) {
    SCOPED_TRACE(row++);
    Params params = {Device(7, 16)};
    EXPECT_EQ(xsetest::DecodeGroup(decode, group, params, std::endian::little), accepted);
    if (!accepted) {
      EXPECT_EQ(Summaries(params), Summaries({Device(7, 16)}));
    }
  }
}

TEST(ParameterDecoder, MountingPrefixesReceivingTransmittersAndStopsAtTheRecordLimit) {
  Params params;
  EXPECT_FALSE(DecodeDevices(Mounting({Mount(1, 0)}), params)) << "it needs the device list";
  for (size_t id = 0; id <= elac::kMaxDeviceRecords; ++id)
    params.push_back(Device(static_cast<int32_t>(id), 16));
  params[1].name.Assign(std::string(254, 'a'));
  params[2] = Device(2, 17);
  params[2].name.Assign("keep");
  const auto last = static_cast<uint32_t>(elac::kMaxDeviceRecords);
  ASSERT_TRUE(DecodeDevices(
      Mounting({Mount(1, 0, 0), Mount(2, 0, 0), Mount(5, 0.1), Mount(5, 0.2), Mount(last, 0.3)}),
      params));
  EXPECT_EQ(params[1].name.View(), "RX_" + std::string(252, 'a')) << "cut to the name's length";
  EXPECT_EQ(params[2].name.View(), "keep");
  EXPECT_EQ(params.size(), elac::kMaxDeviceRecords + 1) << "no room for a copy";
  EXPECT_DOUBLE_EQ(params[5].mountAngle1, 0.1 * kDegrees) << "the repeat is ignored";
  EXPECT_EQ(params.back().fieldMask, 0u) << "elements past the limit take no part";
}

TEST(ParameterDecoder, StatusTwoSetsTheFlagOfTheTransducerOfThatPosition) {
  using Entries = std::vector<xsewriter::DeviceStatus>;
  // Status entries, kinds of the elements, their field masks after it, decoded.
  const std::tuple<Entries, std::vector<int32_t>, std::vector<uint32_t>, bool> kCases[] = {
      {{{2, 0, 2}}, {16}, {0x5000}, true},
      {{{0, 0, 0}, {1, 2, 3}}, {16, 17, 256}, {0, 0x2000, 0}, true},
      {{{2, 2, 2}}, {16, 16}, {0x7000, 0x7000}, true},
      {{{2, 2, 2}}, {17, 256, 0}, {0, 0, 0}, false},
      {{}, {16}, {0}, false}};
  for (const auto& [entries, kinds, expected, decoded] : kCases) {
    Params params;
    for (int32_t kind : kinds) params.push_back(Device(0, kind));
    EXPECT_EQ(DecodeDevices(Put(xsewriter::PutStatusGroup, entries), params), decoded);
    std::vector<uint32_t> masks;
    for (const auto& record : params) masks.push_back(record.fieldMask);
    EXPECT_EQ(masks, expected);
  }
}

}  // namespace
