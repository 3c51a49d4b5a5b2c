#include "interpreters/surveyreaderlib/elacreader/elacmessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace elac {
namespace {

using ::testing::ElementsAreArray;

template <typename Frame>
std::vector<uint8_t> OnWire(Frame frame) {
  frame.ToNetworkOrder();
  return {frame.Bytes().begin(), frame.Bytes().end()};
}

std::vector<uint8_t> Slice(const std::vector<uint8_t>& bytes, size_t from, size_t to) {
  return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
          bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

std::vector<uint8_t> BigEndianWords(std::initializer_list<uint32_t> words) {
  std::vector<uint8_t> bytes;
  for (const uint32_t word : words) {
    for (int shift = 24; shift >= 0; shift -= 8)
      bytes.push_back(static_cast<uint8_t>(word >> shift));
  }
  return bytes;
}

std::vector<uint8_t> Text(const char* text) { return {text, text + std::strlen(text)}; }

TEST(ElacMessagesTest, XseNowCountsFrom1901) {
  EXPECT_EQ(XseNow(1660867200), 3838320000u);  // 2022-08-19 00:00:00 UTC
  const uint32_t now = XseNow();
  EXPECT_GT(now, 3838320000u);
  EXPECT_LE(XseNow() - now, 1u);
}

TEST(ElacMessagesTest, RequestGoesOutAsAskedAndAgainAtRelease) {
  RequestFrame request = RequestFrame::Build();
  request.SetSequenceNumber(1);
  request.SetSenderAddress({192, 168, 1, 20});
  request.SetName("XSEReader");

  const std::vector<uint8_t> wire = OnWire(request);
  ASSERT_EQ(wire.size(), 102u);
  EXPECT_THAT(Slice(wire, 0, 16),
              ElementsAreArray({0x24, 0x48, 0x53, 0x46, 0, 0, 0, 0x5A, 0, 0, 0, 8, 0, 0, 0, 0}));
  EXPECT_THAT(Slice(wire, 24, 32), ElementsAreArray({0, 0, 0, 1, 0xC0, 0xA8, 0x01, 0x14}));
  EXPECT_THAT(Slice(wire, 32, 44), ElementsAreArray(BigEndianWords({0x24485347, 10, 8})));
  EXPECT_THAT(Slice(wire, 44, 50), ElementsAreArray({0x0D, 0x48, 0, 0, 0, 1}));
  EXPECT_EQ(Slice(wire, 50, 58), Text("#HSG$HSG"));
  EXPECT_THAT(Slice(wire, 58, 78), ElementsAreArray(BigEndianWords({32, 10, 107, 1, 16})));
  std::vector<uint8_t> name = Text("XSEReader");
  name.resize(16, 0);
  EXPECT_EQ(Slice(wire, 78, 94), name);
  EXPECT_EQ(Slice(wire, 94, 102), Text("#HSG#HSF"));

  request.SetLinkCode(RequestFrame::kLinkRelease);
  std::vector<uint8_t> release = wire;
  release[49] = 2;
  EXPECT_EQ(OnWire(request), release);

  // A name of 16 bytes or more fills the field without a terminator.
  request.SetName("a-name-longer-than-sixteen");
  EXPECT_EQ(Slice(OnWire(request), 78, 98), Text("a-name-longer-th#HSG"));
}

TEST(ElacMessagesTest, SetupFramesCarryTheirFixedGroups) {
  struct Case {
    std::vector<uint8_t> wire;
    uint32_t frameSize;
    std::initializer_list<uint32_t> group;  // G, type, code, 1, count, values
  };
  const Case cases[] = {
      {OnWire(SetupFrame1::Build()), 64, {28, 6, 1, 1, 3, 1, 2, 11}},
      {OnWire(SetupFrame2::Build()), 80, {44, 6, 6, 1, 7, 1, 2, 4, 7, 8, 9, 19}},
      {OnWire(SetupFrame3::Build()), 60, {24, 6, 5, 1, 2, 1, 4}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.frameSize);
    const size_t length = c.frameSize + 12;
    ASSERT_EQ(c.wire.size(), length);
    EXPECT_EQ(Slice(c.wire, 0, 4), Text("$HSF"));
    EXPECT_THAT(Slice(c.wire, 4, 16), ElementsAreArray(BigEndianWords({c.frameSize, 8, 0})));
    EXPECT_EQ(Slice(c.wire, 32, 36), Text("$HSG"));
    EXPECT_THAT(Slice(c.wire, 36, length - 8), ElementsAreArray(BigEndianWords(c.group)));
    EXPECT_EQ(Slice(c.wire, length - 8, length), Text("#HSG#HSF"));
  }
}

TEST(ElacMessagesTest, AcknowledgeTemplateAndItsDataPort) {
  AcknowledgeFrame acknowledge = AcknowledgeFrame::Build();
  const std::vector<uint8_t> wire = OnWire(acknowledge);
  EXPECT_THAT(Slice(wire, 4, 8), ElementsAreArray(BigEndianWords({70})));
  EXPECT_EQ(Slice(wire, 74, 82), Text("#HSG#HSF"));
  EXPECT_EQ(acknowledge.DataPort(), 0);

  // A reply is taken whatever its content once it is long enough; the group
  // sizes and types stay in network order.
  std::vector<uint8_t> reply(82, 0xEE);
  reply[44] = 0x13;
  reply[45] = 0x88;
  ASSERT_TRUE(acknowledge.Receive(reply));
  EXPECT_EQ(acknowledge.DataPort(), 5000);
  EXPECT_EQ(acknowledge.Bytes()[36], 0xEE);
  EXPECT_EQ(acknowledge.Bytes()[82], 0);  // room beyond the reply keeps what it held

  reply[44] = 0xFF;
  reply[45] = 0xFE;
  ASSERT_TRUE(acknowledge.Receive(reply));
  EXPECT_EQ(acknowledge.DataPort(), 65534);
  EXPECT_EQ(acknowledge.SignedDataPort(), -2);

  // Too short to be an acknowledge: the record is left as it was. Longer than
  // the record: only the record's length is taken.
  reply.resize(81);
  EXPECT_FALSE(acknowledge.Receive(reply));
  EXPECT_EQ(acknowledge.DataPort(), 65534);
  reply.assign(AcknowledgeFrame::kSize + 100, 0x13);
  ASSERT_TRUE(acknowledge.Receive(reply));
  EXPECT_EQ(acknowledge.DataPort(), 0x1313);
}

}  // namespace
}  // namespace elac
