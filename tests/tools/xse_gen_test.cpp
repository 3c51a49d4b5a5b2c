// `xse gen` as users run it: the file it writes and its errors. What the
// generator makes is pinned by its own tests, the summary line by `xse info`'s.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using xsetest::RunXse;

TEST(XseGen, SizeAndByteOrderShapeTheFile) {
  xsetest::TempDir dir;
  const std::string path = dir.File("s.xse");
  const auto result =
      RunXse({"gen", "--size", "64K", "--beams", "4", "--byte-order", "little", path});
  EXPECT_EQ(result.status, 0) << result.err;
  const auto size = std::filesystem::file_size(path);
  EXPECT_GE(size, 65536u);
  EXPECT_LT(size, 65536u + 4096u);
  EXPECT_THAT(result.out,
              ::testing::MatchesRegex(path + ": [0-9]+ frames, " + std::to_string(size) +
                                      " bytes, [0-9.]+ s of survey\n"));
  const std::string bytes = xsetest::ReadWholeFile(path);
  EXPECT_EQ(bytes.substr(0, 4), "FSH$");
  EXPECT_EQ(bytes.find("$HSF"), std::string::npos);
}

}  // namespace
