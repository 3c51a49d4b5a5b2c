#include "platform/paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "support/tempdir.h"

namespace platform {
namespace {

// Runs each test inside a fresh temporary folder and goes back afterwards.
class PathsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    saved_ = std::filesystem::current_path();
    std::filesystem::current_path(dir_.path());
    // The real name of the folder: the temporary root may be reached through a link.
    here_ = std::filesystem::current_path().string();
  }
  void TearDown() override { std::filesystem::current_path(saved_); }

  xsetest::TempDir dir_;
  std::filesystem::path saved_;
  std::string here_;
};

TEST_F(PathsTest, CurrentDirectoryIsTheWorkingFolder) { EXPECT_EQ(CurrentDirectory(), here_); }

TEST_F(PathsTest, AbsolutePathFoldsRelativeStepsAgainstTheCurrentFolder) {
  const struct {
    std::string in;
    std::string expected;
  } cases[] = {
      {"log", here_ + "/log"},
      {"./a/../log", here_ + "/log"},
      {"a//b/", here_ + "/a/b"},
      {"/opt/q/../q/log", "/opt/q/log"},
      {"/", "/"},
      {"", ""},
  };
  for (const auto& c : cases) EXPECT_EQ(AbsolutePath(c.in), c.expected) << c.in;
}

TEST_F(PathsTest, EntryExistsForAnyKindOfEntry) {
  std::filesystem::create_directory("folder");
  std::ofstream("file").put('x');
  std::filesystem::create_symlink("nowhere", "dangling");
  std::filesystem::create_directory("folder/log");

  EXPECT_TRUE(EntryExists("", "folder"));
  EXPECT_TRUE(EntryExists("", "file"));
  EXPECT_TRUE(EntryExists(here_, "dangling"));
  EXPECT_TRUE(EntryExists("folder", "log"));
  EXPECT_TRUE(EntryExists(here_ + "/folder", "log"));
  EXPECT_FALSE(EntryExists("", "log"));
  EXPECT_FALSE(EntryExists("missing", "log"));
  EXPECT_FALSE(EntryExists("folder", ""));
}

}  // namespace
}  // namespace platform
