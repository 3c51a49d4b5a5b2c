// `xse gen` as users run it: files, determinism, options and their errors.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using xsetest::ReadWholeFile;
using xsetest::RunXse;
using xsetest::TempDir;

TEST(XseGen, SameOptionsWriteTheSameFile) {
  TempDir dir;
  const std::vector<std::string> options = {"--duration", "1", "--beams", "8", "--seed", "42"};
  auto args = options;
  args.insert(args.begin(), "gen");
  args.push_back(dir.File("a.xse"));
  ASSERT_EQ(RunXse(args).status, 0);
  args.back() = dir.File("b.xse");
  ASSERT_EQ(RunXse(args).status, 0);
  args.back() = dir.File("c.xse");
  args[6] = "43";
  ASSERT_EQ(RunXse(args).status, 0);
  const std::string a = ReadWholeFile(dir.File("a.xse"));
  EXPECT_GT(a.size(), 10000u);
  EXPECT_EQ(ReadWholeFile(dir.File("b.xse")), a);
  EXPECT_NE(ReadWholeFile(dir.File("c.xse")), a);
}

TEST(XseGen, SizeGivesAFileJustPastIt) {
  TempDir dir;
  const auto result = RunXse({"gen", "--size", "64K", "--beams", "4", dir.File("s.xse")});
  EXPECT_EQ(result.status, 0) << result.err;
  const auto size = std::filesystem::file_size(dir.File("s.xse"));
  EXPECT_GE(size, 65536u);
  EXPECT_LT(size, 65536u + 4096u);
  EXPECT_THAT(result.out, StartsWith(dir.File("s.xse") + ": "));
  EXPECT_THAT(result.out, HasSubstr(" " + std::to_string(size) + " bytes, "));
}

TEST(XseGen, ByteOrderOptionSetsTheStartMarkers) {
  TempDir dir;
  for (const char* order : {"big", "little"}) {
    const std::string path = dir.File(std::string(order) + ".xse");
    ASSERT_EQ(RunXse({"gen", "--duration", "0.5", "--byte-order", order, path}).status, 0);
    const std::string bytes = ReadWholeFile(path);
    EXPECT_EQ(bytes.substr(0, 4), order == std::string("big") ? "$HSF" : "FSH$");
    EXPECT_EQ(bytes.find(order == std::string("big") ? "FSH$" : "$HSF"), std::string::npos);
  }
}

TEST(XseGen, UnwritableOutputIsReportedWithExitOne) {
  TempDir dir;
  const std::string path = dir.File("no/such/folder/out.xse");
  const auto result = RunXse({"gen", path});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "xse: cannot write " + path + ": No such file or directory\n");
  EXPECT_EQ(result.out, "");
}

struct UsageCase {
  std::vector<std::string> args;
  const char* message;
};

class XseGenUsageTest : public ::testing::TestWithParam<UsageCase> {};

TEST_P(XseGenUsageTest, WrongUsageExitsTwoWithTheReasonAndTheUsage) {
  auto args = GetParam().args;
  args.insert(args.begin(), "gen");
  const auto result = RunXse(args);
  EXPECT_EQ(result.status, 2);
  EXPECT_EQ(result.err, std::string("xse gen: ") + GetParam().message +
                            "\nusage: xse gen [--duration SECONDS] [--size BYTES] [--seed N] "
                            "[--beams N]\n"
                            "               [--samples N] [--nav-rate HZ] [--ping-rate HZ]\n"
                            "               [--byte-order big|little|mixed] OUT.xse\n");
  EXPECT_EQ(result.out, "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, XseGenUsageTest,
    ::testing::Values(UsageCase{{}, "no output file"},
                      UsageCase{{"a.xse", "b.xse"}, "more than one output file"},
                      UsageCase{{"--seed"}, "--seed needs a value"},
                      UsageCase{{"--duration", "0", "o"}, "invalid value '0' for --duration"},
                      UsageCase{{"--size", "1.5G", "o"}, "invalid value '1.5G' for --size"},
                      UsageCase{{"--size", "0", "o"}, "invalid value '0' for --size"},
                      UsageCase{{"--beams", "0", "o"}, "invalid value '0' for --beams"},
                      UsageCase{{"--beams", "8193", "o"}, "invalid value '8193' for --beams"},
                      UsageCase{{"--samples", "65537", "o"}, "invalid value '65537' for --samples"},
                      UsageCase{{"--nav-rate", "0.5", "o"}, "invalid value '0.5' for --nav-rate"},
                      UsageCase{{"--ping-rate", "51", "o"}, "invalid value '51' for --ping-rate"},
                      UsageCase{{"--byte-order", "middle", "o"},
                                "invalid value 'middle' for --byte-order"},
                      UsageCase{{"--seed", "-3", "o"}, "invalid value '-3' for --seed"},
                      UsageCase{{"--frobnicate", "1", "o"}, "unknown option '--frobnicate'"}));

TEST(XseTool, EveryCommandHasHelpOnStdout) {
  for (const char* command : {"gen", "info", "dump"}) {
    const auto result = RunXse({command, "--help"});
    EXPECT_EQ(result.status, 0) << command;
    EXPECT_THAT(result.out, StartsWith(std::string("usage: xse ") + command)) << command;
    EXPECT_EQ(result.err, "");
  }
  const auto overview = RunXse({"--help"});
  EXPECT_EQ(overview.status, 0);
  for (const char* command : {"  gen ", "  info ", "  dump "})
    EXPECT_THAT(overview.out, HasSubstr(command));
}

}  // namespace
