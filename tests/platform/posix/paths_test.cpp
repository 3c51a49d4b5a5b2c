#include "platform/paths.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "support/tempdir.h"

namespace platform {
namespace {

// Making a link needs no rights here (on Windows it does).
TEST(PathsPosixTest, ADanglingLinkIsAnEntry) {
  xsetest::TempDir dir;
  std::filesystem::create_symlink("nowhere", dir.path() / "dangling");
  EXPECT_TRUE(EntryExists(dir.Folder(), "dangling"));
}

}  // namespace
}  // namespace platform
