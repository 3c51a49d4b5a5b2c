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
  void SetUp() override { std::filesystem::current_path(dir_.path()); }
  void TearDown() override { std::filesystem::current_path(saved_); }

  std::filesystem::path saved_ = std::filesystem::current_path();
  xsetest::TempDir dir_;
  // The real name of the folder: the temporary root may be reached through a link.
  std::string here_ = std::filesystem::canonical(dir_.path()).string();
};

TEST_F(PathsTest, AbsolutePathFoldsRelativeStepsAgainstTheCurrentFolder) {
  EXPECT_EQ(CurrentDirectory(), here_);
  EXPECT_EQ(AbsolutePath("./a/../log"), here_ + "/log");
  EXPECT_EQ(AbsolutePath("a//b/"), here_ + "/a/b");
  EXPECT_EQ(AbsolutePath("/opt/q/../q/log"), "/opt/q/log");
  EXPECT_EQ(AbsolutePath("/"), "/");
  EXPECT_EQ(AbsolutePath(""), "");
}

TEST_F(PathsTest, EntryExistsForAnyKindOfEntry) {
  std::filesystem::create_directories("folder/log");
  std::ofstream("file").put('x');
  std::filesystem::create_symlink("nowhere", "dangling");
  EXPECT_TRUE(EntryExists("", "file"));
  EXPECT_TRUE(EntryExists(here_, "dangling"));
  EXPECT_TRUE(EntryExists("folder", "log"));
  EXPECT_FALSE(EntryExists("", "log"));
  EXPECT_FALSE(EntryExists("missing", "log"));
  EXPECT_FALSE(EntryExists("folder", ""));
}

}  // namespace
}  // namespace platform
