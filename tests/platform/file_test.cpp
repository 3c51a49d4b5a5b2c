#include "platform/file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "platform/systemfacts.h"
#include "support/tempdir.h"

namespace platform {
namespace {

// "Überfahrt 3": a folder name outside ASCII, spelled in UTF-8.
const std::string kSurveyFolder = "\u00DCberfahrt 3";

TEST(ReadOnlyFileTest, ReadsByOffsetInAFolderWithAnyName) {
  xsetest::TempDir dir;
  std::filesystem::create_directory(dir.path() / xsetest::Utf8Path(kSurveyFolder));
  const std::vector<uint8_t> bytes = {1, 2, 3, 4, 5, 6, 7};
  const std::string path = dir.Write(kSurveyFolder + "/line 1.xse", bytes);
  ReadOnlyFile file;
  ASSERT_TRUE(file.Open(path)) << file.error();
  EXPECT_EQ(file.Size(), bytes.size());
  // Offset, bytes asked for, bytes expected.
  const std::tuple<uint64_t, size_t, std::vector<uint8_t>> kReads[] = {
      {0, 3, {1, 2, 3}}, {5, 10, {6, 7}}, {7, 4, {}}, {uint64_t{1} << 40, 4, {}}};
  for (const auto& [offset, count, expected] : kReads) {
    std::vector<uint8_t> into(count);
    const std::optional<size_t> read = file.ReadAt(offset, into);
    ASSERT_TRUE(read.has_value()) << offset;
    into.resize(*read);
    EXPECT_EQ(into, expected) << offset;
  }
  ReadOnlyFile moved(std::move(file));
  EXPECT_FALSE(file.IsOpen());
  EXPECT_TRUE(moved.Close());
  EXPECT_EQ(moved.Size(), std::nullopt);
}

TEST(ReadOnlyFileTest, RefusesWhatIsNoRegularFileAtOnceAndSaysWhyInWords) {
  xsetest::TempDir dir;
  // Path, reason.
  const std::pair<std::string, std::string> kRefused[] = {
      {dir.File("missing.xse"), "No such file or directory"},
      {dir.File("no folder/x.xse"), "No such file or directory"},
      {dir.Folder(), ReadOnlyFile::kNotARegularFile},
      {platformtest::kNullDevice, ReadOnlyFile::kNotARegularFile}};
  for (const auto& [path, reason] : kRefused) {
    ReadOnlyFile file;
    EXPECT_FALSE(file.Open(path)) << path;
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.error(), reason) << path;
  }
}

// A recorder keeps its file open for writing; the reader sees what it has
// written so far and does not stop it from writing on or removing the file.
TEST(ReadOnlyFileTest, ReadsAFileStillBeingWritten) {
  xsetest::TempDir dir;
  const std::string path = dir.File("recording.xse");
  std::ofstream writer(xsetest::Utf8Path(path), std::ios::binary);
  writer << "first" << std::flush;
  ReadOnlyFile file;
  ASSERT_TRUE(file.Open(path)) << file.error();
  writer << "second" << std::flush;
  EXPECT_EQ(file.Size(), 11u);
  std::string text(11, '\0');
  EXPECT_EQ(file.ReadAt(0, {reinterpret_cast<uint8_t*>(text.data()), text.size()}), 11u);
  EXPECT_EQ(text, "firstsecond");
  writer.close();
  std::error_code error;
  EXPECT_TRUE(std::filesystem::remove(xsetest::Utf8Path(path), error)) << error.message();
}

}  // namespace
}  // namespace platform
