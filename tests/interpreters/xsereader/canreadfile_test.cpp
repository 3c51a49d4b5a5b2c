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

// Empty files, frames whose end marker stands behind the file's end and the
// extension switch are pinned through `xse check`.
TEST(CanReadFileTest, AnswersFromTheExtensionAndTheFirstFrame) {
  const struct {
    const char* name;  // in the test folder
    std::vector<uint8_t> bytes;
    int32_t extensionCheck;
    int32_t answer;
  } cases[] = {
      {"survey.XSE", Frame(), 1, 1},
      {"survey.xse.bak", Frame(), 1, 0},
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
