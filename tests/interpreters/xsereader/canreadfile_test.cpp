#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "interpreters/xsereader/zxsereader.h"
#include "support/tempdir.h"

namespace {

// One navigation frame after `junk` bytes, its end marker damaged if asked.
std::vector<uint8_t> Frame(size_t junk = 0, bool damagedEnd = false) {
  std::vector<uint8_t> bytes(junk, 'z');
  const std::vector<uint8_t> frame = xsetest::PositionFrames(1);
  bytes.insert(bytes.end(), frame.begin(), frame.end());
  if (damagedEnd) bytes.back() ^= 0xFF;
  return bytes;
}

// "$HSF", a big-endian length of 16, 16 bytes and `tail` more: without a
// tail the frame's end marker would stand behind the file's end.
std::vector<uint8_t> BareFrame(size_t tail) {
  std::vector<uint8_t> bytes = {'$', 'H', 'S', 'F', 0, 0, 0, 16};
  bytes.resize(bytes.size() + 16 + tail, 9);
  return bytes;
}

TEST(CanReadFileTest, AnswersFromTheExtensionAndTheFirstFrame) {
  const struct {
    const char* name;  // in the test folder
    std::vector<uint8_t> bytes;
    int32_t extensionCheck;
    int32_t answer;
  } cases[] = {
      {"survey.XSE", Frame(), 1, 1},
      {"survey.xse.bak", Frame(), 1, 0},
      {"survey.dat", Frame(), 0, 1},
      {"empty.xse", {}, 1, 0},
      {"bare.xse", BareFrame(0), 0, 0},
      {"bare4.xse", BareFrame(4), 0, 1},
      {"junk8.xse", Frame(8), 0, 1},
      {"badend.xse", Frame(0, true), 1, 1},
      {"text.xse", std::vector<uint8_t>(100, 'a'), 0, 0},
  };
  xsetest::TempDir dir;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = dir.Write(c.name, c.bytes);
    EXPECT_EQ(ZXSEReader::sCanReadFile(path, c.extensionCheck), c.answer);
    ZXSEReader reader;
    reader.extensionCheck = c.extensionCheck;
    EXPECT_EQ(reader.CanReadFile(path), c.answer);
  }
  EXPECT_EQ(ZXSEReader::sCanReadFile(dir.File("missing.xse"), 0), 0);
  EXPECT_EQ(ZXSEReader::sCanReadFile(dir.path().string(), 0), 0);  // a folder
}

}  // namespace
