#include "platform/paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/tempdir.h"

namespace platform {
namespace {

// "Überfahrt 3": a folder name outside ASCII, spelled in UTF-8.
const std::string kSurveyFolder = "\u00DCberfahrt 3";

std::string SystemAbsolute(const char* path) {
  return xsetest::Utf8Text(std::filesystem::absolute(path));
}

// Runs each test inside a fresh temporary folder and goes back afterwards.
class PathsTest : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::current_path(dir_.path()); }
  void TearDown() override { std::filesystem::current_path(saved_); }

  std::filesystem::path saved_ = std::filesystem::current_path();
  xsetest::TempDir dir_;
  // The real name of the folder: the temporary root may be reached through a link.
  std::string here_ = xsetest::Utf8Text(std::filesystem::canonical(dir_.path()));
  // "" on Linux, the drive ("C:") on Windows.
  std::string drive_ = xsetest::Utf8Text(dir_.path().root_name());
};

TEST_F(PathsTest, AbsolutePathFoldsRelativeStepsAgainstTheCurrentFolder) {
  EXPECT_EQ(CurrentDirectory(), here_);
  EXPECT_EQ(AbsolutePath("./a/../log"), here_ + "/log");
  EXPECT_EQ(AbsolutePath("a//b/"), here_ + "/a/b");
  // A path from the root lies on the drive the system picks (Windows: the
  // current one; Wine: the drive of the Unix root).
  EXPECT_EQ(AbsolutePath("/opt/q/../q/log"), SystemAbsolute("/opt/q/log"));
  EXPECT_EQ(AbsolutePath("/"), SystemAbsolute("/"));
  EXPECT_EQ(AbsolutePath(drive_ + "/opt/../log"), drive_ + "/log");
  EXPECT_EQ(AbsolutePath(""), "");
  EXPECT_EQ(AbsolutePath(kSurveyFolder + "/./line.xse"), here_ + "/" + kSurveyFolder + "/line.xse");
}

TEST_F(PathsTest, EntryExistsAndCurrentDirectoryForAnyKindOfEntryUnderAnyName) {
  std::filesystem::create_directories("folder/log");
  std::ofstream("file").put('x');
  std::filesystem::create_directory(xsetest::Utf8Path(kSurveyFolder));
  std::ofstream(xsetest::Utf8Path(kSurveyFolder + "/line 1.xse")).put('x');
  EXPECT_TRUE(EntryExists("", "file"));
  EXPECT_TRUE(EntryExists("folder", "log"));
  EXPECT_TRUE(EntryExists(here_, kSurveyFolder));
  EXPECT_TRUE(EntryExists(kSurveyFolder, "line 1.xse"));
  EXPECT_FALSE(EntryExists("", "log"));
  EXPECT_FALSE(EntryExists("missing", "log"));
  EXPECT_FALSE(EntryExists("folder", ""));
  std::filesystem::current_path(xsetest::Utf8Path(kSurveyFolder));
  EXPECT_EQ(CurrentDirectory(), here_ + "/" + kSurveyFolder);
}

}  // namespace
}  // namespace platform
