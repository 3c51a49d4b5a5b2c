// Steady decoding must not allocate: after the first frame of each kind, the
// records, arrays and parameter sequences are all reused.
#include <gtest/gtest.h>

#include <array>
#include <memory>
#include <new>

#include "allocationcount/allocationcount.h"
#include "grouptestsupport.h"

namespace {

using xsealloc::AllocationsOf;
using xsetest::PingFrame;
using xsetest::SidescanFrame;
using xsewriter::FrameWriter;

// Counts deliveries without keeping anything.
class CountingTarget final : public quor::ISurveyTarget {
 public:
  void HandleParameter(const quor::ParameterRec&) override { ++parameters; }
  void HandlePosition(const quor::NavigationRec&) override { ++positions; }
  void HandleMultibeam(const quor::MultibeamRec&) override { ++pings; }
  void HandleSidescan(const quor::SidescanRec&) override { ++sidescans; }
  size_t parameters = 0, positions = 0, pings = 0, sidescans = 0;
};

xsetest::Bytes Navigation(std::endian order) {
  return xsetest::WriteFrame(order, elac::kNavigationFrame, [](FrameWriter& w) {
    xsewriter::PutPositionGroup(w, "WGS84", 0.9, 0.1, 3.0);
    xsewriter::PutHeadingGroup(w, 0.5);
    xsewriter::PutAttitudeGroup(w, 0.1, 0.01, 0.02);
  });
}

xsetest::Bytes Parameters(std::endian order, bool withTransducers) {
  return xsetest::WriteFrame(order, elac::kParameterFrame, [=](FrameWriter& w) {
    xsewriter::PutDraftGroup(w, 3.5, 4);
    withTransducers ? xsewriter::PutTransducerInstallationGroup(w, {})
                    : xsewriter::PutInstallationGroup(w, {});
    const uint32_t ids[] = {1, 2, 3, 4, 5, 6}, codes[] = {1000, 2000, 4000, 3000, 2001, 77};
    xsewriter::PutDeviceListGroup(w, ids, codes);
    const xsewriter::MountingEntry entries[] = {
        {1, 1, {}, {}}, {1, 0, {}, {}}, {2, 0, {}, {}}, {2, 1, {}, {}}, {4, 1, {}, {}}};
    xsewriter::PutMountingGroup(w, entries);
    const xsewriter::DeviceStatus status[] = {{2, 2, 2}, {0, 2, 0}};
    xsewriter::PutStatusGroup(w, status);
  });
}

TEST(SteadyAllocation, DecodingAllocatesNothingAfterTheFirstFrameOfEachKind) {
  if (!xsealloc::kCountsAllocations) GTEST_SKIP() << "the sanitizer owns operator new here";
  std::unique_ptr<int[]> block;
  ASSERT_EQ(AllocationsOf([&] { block.reset(new (std::nothrow) int[64]); }), 1u)
      << "the counting itself works";
  // The largest ping and sidescan come first; the later ones vary below
  // them and switch byte order.
  const std::vector<xsetest::Bytes> firsts = {
      PingFrame(std::endian::big, 0, 500), SidescanFrame(std::endian::big, 0, 2000, 10000),
      Navigation(std::endian::big), Parameters(std::endian::big, true)};
  const std::vector<xsetest::Bytes> steady = {
      PingFrame(std::endian::little, 0, 400), PingFrame(std::endian::big, 0, 500),
      PingFrame(std::endian::big, 0, 7),      SidescanFrame(std::endian::little, 0, 1999, 10000),
      SidescanFrame(std::endian::big, 0, 64), Navigation(std::endian::little),
      Parameters(std::endian::little, false), Parameters(std::endian::big, true),
  };
  CountingTarget target;
  ElacReader reader(&target, ElacReader::kSecondHead);
  for (const auto& frame : firsts) ASSERT_TRUE(reader.DecodeFrameBytes(frame));
  constexpr size_t kRounds = 1000;
  bool decoded = true;
  EXPECT_EQ(AllocationsOf([&] {
              for (size_t round = 0; round < kRounds; ++round) {
                for (const auto& frame : steady)
                  decoded = reader.DecodeFrameBytes(frame) && decoded;
              }
            }),
            0u);
  EXPECT_TRUE(decoded);
  // Every frame delivered its records, so the loop did decode.
  EXPECT_EQ((std::array{target.pings, target.sidescans, target.positions}),
            (std::array{1 + 3 * kRounds, 1 + 2 * kRounds, 1 + kRounds}));
  EXPECT_GE(target.parameters, 3 * kRounds * 8);
}

}  // namespace
