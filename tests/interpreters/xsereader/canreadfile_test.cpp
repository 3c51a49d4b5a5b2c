#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <string>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "interpreters/xsereader/zxsereader.h"
#include "support/tempdir.h"

namespace {

using xsetest::PositionFrames;
using xsetest::TempDir;

std::vector<uint8_t> Cat(std::vector<uint8_t> first, const std::vector<uint8_t>& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

// One frame whose end marker is damaged.
std::vector<uint8_t> WrongEndMarker() {
  std::vector<uint8_t> bytes = PositionFrames(1);
  bytes.back() ^= 0xFF;
  return bytes;
}

// "$HSF", a big-endian length of 16 and 16 bytes: a frame whose end marker
// would stand just behind the file's end.
std::vector<uint8_t> BareFrame() {
  std::vector<uint8_t> bytes = {'$', 'H', 'S', 'F', 0, 0, 0, 16};
  bytes.resize(bytes.size() + 16, 0);
  return bytes;
}

struct RecognitionCase {
  const char* name;  // file name in the test folder; empty: a missing file
  std::vector<uint8_t> bytes;
  int32_t extensionCheck;
  int32_t answer;
};

class CanReadFileTest : public ::testing::TestWithParam<RecognitionCase> {};

TEST_P(CanReadFileTest, AnswersFromTheExtensionAndTheFirstFrame) {
  TempDir dir;
  const RecognitionCase& c = GetParam();
  const std::string path = dir.Write(c.name, c.bytes);
  EXPECT_EQ(ZXSEReader::sCanReadFile(path, c.extensionCheck), c.answer);
  ZXSEReader reader;
  reader.extensionCheck = c.extensionCheck;
  std::string name = path;
  EXPECT_EQ(reader.CanReadFile(name), c.answer);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, CanReadFileTest,
    ::testing::Values(
        RecognitionCase{"survey.xse", PositionFrames(1), 1, 1},
        RecognitionCase{"survey.XSE", PositionFrames(1), 1, 1},
        RecognitionCase{"survey.xse.bak", PositionFrames(1), 1, 0},
        RecognitionCase{"survey", PositionFrames(1), 1, 0},
        RecognitionCase{"survey.dat", PositionFrames(1), 0, 1},
        RecognitionCase{"survey.dat", PositionFrames(1), 1, 0},
        RecognitionCase{"empty.xse", {}, 1, 0}, RecognitionCase{"bare.xse", BareFrame(), 0, 0},
        RecognitionCase{"bare4.xse", Cat(BareFrame(), {9, 9, 9, 9}), 0, 1},
        RecognitionCase{"offset6.xse", Cat(std::vector<uint8_t>(6, 0), PositionFrames(1)), 0, 0},
        RecognitionCase{"offset8.xse", Cat(std::vector<uint8_t>(8, 'z'), PositionFrames(1)), 0, 1},
        RecognitionCase{"badend.xse", WrongEndMarker(), 1, 1},
        RecognitionCase{"text.xse", std::vector<uint8_t>(100, 'a'), 0, 0}),
    [](const ::testing::TestParamInfo<RecognitionCase>& testCase) {
      std::string name;
      for (const char c : std::string(testCase.param.name)) name += std::isalnum(c) ? c : '_';
      return name + (testCase.param.extensionCheck != 0 ? "_checked" : "_unchecked");
    });

TEST(CanReadFileTest, MissingFileCannotBeRead) {
  TempDir dir;
  EXPECT_EQ(ZXSEReader::sCanReadFile(dir.File("missing.xse"), 0), 0);
  EXPECT_EQ(ZXSEReader::sCanReadFile(dir.path().string(), 0), 0);  // a folder
}

}  // namespace
