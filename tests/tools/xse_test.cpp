// The xse command line: every wrong usage exits 2 with the reason and the
// command's usage on stderr, a file it cannot read or write exits 1 with the
// reason, and every command has help on stdout. A usage may go on with
// further forms of the command.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;
using namespace xsetest;

const std::map<std::string, std::string> kUsage = {
    {"gen",
     "usage: xse gen [--duration SECONDS] [--size BYTES] [--seed N] [--beams N]\n"
     "               [--samples N] [--nav-rate HZ] [--ping-rate HZ]\n"
     "               [--byte-order big|little|mixed] OUT.xse\n"},
    {"dump",
     "usage: xse dump [--format jsonl|csv] [--kind KINDS] [--limit N]\n"
     "                [--head all|first|second] [--with-file] [--degrees] FILE...\n"},
    {"info", "usage: xse info [--json] FILE...\n"},
    {"run", "usage: xse run [--events] [--no-ext-check] FILE...\n"},
    {"check", "usage: xse check [--ext] [--why] FILE...\n"},
    {"plot",
     "usage: xse plot --kind track|swath|waterfall [--head all|first|second]\n"
     "                [--width N] [--height N] FILE -o OUT.png\n"},
    {"serve",
     "usage: xse serve [--port N] [--data-port N] [--chunk BYTES] [--rate BYTES_PER_SECOND]\n"
     "                 [--interval-ms MS] [--loop N] [--wait SECONDS] FILE\n"}};

// What each value parser takes and refuses, and the wording of unknown
// options and missing values, is pinned in-process (argparse, commandline);
// here each option refuses a value, each command its own bounds.
TEST(XseTool, WrongUsageExitsTwoWithTheReasonAndTheUsageOfTheCommand) {
  const struct {
    std::vector<std::string> args;
    const char* message;
  } cases[] = {
      {{"gen"}, "no output file"},
      {{"gen", "a.xse", "b.xse"}, "more than one output file"},
      {{"gen", "--duration", "0", "o"}, "invalid value '0' for --duration"},
      {{"gen", "--size", "0", "o"}, "invalid value '0' for --size"},
      {{"gen", "--beams", "0", "o"}, "invalid value '0' for --beams"},
      {{"gen", "--beams", "8193", "o"}, "invalid value '8193' for --beams"},
      {{"gen", "--samples", "65537", "o"}, "invalid value '65537' for --samples"},
      {{"gen", "--nav-rate", "0.5", "o"}, "invalid value '0.5' for --nav-rate"},
      {{"gen", "--ping-rate", "51", "o"}, "invalid value '51' for --ping-rate"},
      {{"gen", "--byte-order", "middle", "o"}, "invalid value 'middle' for --byte-order"},
      {{"gen", "--seed", "-3", "o"}, "invalid value '-3' for --seed"},
      {{"dump"}, "no input file"},
      {{"dump", "--format", "xml", "f"}, "invalid value 'xml' for --format"},
      {{"dump", "--format", "csv", "f"}, "--format csv needs --kind"},
      {{"dump", "--kind", "ping", "f"}, "invalid value 'ping' for --kind"},
      {{"dump", "--kind", "gyro,", "f"}, "invalid value 'gyro,' for --kind"},
      {{"dump", "--format", "csv", "--kind", "gyro,motion", "f"}, "--format csv takes one kind"},
      {{"dump", "--limit", "-1", "f"}, "invalid value '-1' for --limit"},
      {{"dump", "--head"}, "--head needs a value"},
      {{"dump", "--head", "third", "f"}, "invalid value 'third' for --head"},
      {{"dump", "--idle-exit", "1", "f"}, "--idle-exit needs --connect"},
      {{"info", "--csv", "f"}, "unknown option '--csv'"},
      {{"run"}, "no input file"},
      {{"run", "--bogus", "a.xse"}, "unknown option '--bogus'"},
      {{"run", "--connect", "1.2.3.4"}, "invalid value '1.2.3.4' for --connect"},
      {{"check"}, "no input file"},
      {{"check", "--nope", "a"}, "unknown option '--nope'"},
      {{"plot", "f", "-o", "o.png"}, "--kind is needed"},
      {{"plot", "--kind", "depth", "f", "-o", "o.png"}, "invalid value 'depth' for --kind"},
      {{"plot", "--kind", "track", "--width", "99", "f", "-o", "o.png"},
       "invalid value '99' for --width"},
      {{"plot", "--kind", "track", "f"}, "-o OUT.png is needed"},
      {{"serve"}, "no input file"},
      {{"serve", "--port", "70000", "f"}, "invalid value '70000' for --port"},
      {{"serve", "--rate", "0", "f"}, "invalid value '0' for --rate"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(::testing::PrintToString(c.args));
    const auto result = RunXse(c.args);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err,
                StartsWith("xse " + c.args[0] + ": " + c.message + "\n" + kUsage.at(c.args[0])));
    EXPECT_EQ(result.out, "");
  }
  const auto none = RunXse({}), unknown = RunXse({"frobnicate"});
  EXPECT_EQ(none.status, 2);
  EXPECT_THAT(none.err, StartsWith("usage: xse COMMAND"));
  EXPECT_EQ(unknown.status, 2);
  EXPECT_THAT(unknown.err, StartsWith("xse: unknown command 'frobnicate'\nusage: xse COMMAND"));
}

// Each reading command over inputs that are not a survey, each followed by
// a good file: one line in the one error form per bad input, the good file
// still read, exit 1.
TEST(XseTool, InputsThatAreNotSurveysAreErrorsAndTheOthersAreStillRead) {
  TempDir dir;
  const std::string good = dir.File("good.xse");
  ASSERT_EQ(RunXse({"gen", "--duration", "1", good}).status, 0);
  std::vector<uint8_t> noise(70000);
  for (size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<uint8_t>(i * 2654435761u >> 13);
  const struct {
    std::string path, err;
  } inputs[] = {{dir.Write("random.bin", noise), ": no XSE data found\n"},
                {dir.Write("empty.xse", std::span<const uint8_t>()), ": file is empty\n"},
                {dir.File("missing.xse"), ": No such file or directory\n"}};
  for (const auto& input : inputs) {
    const bool opened = input.err == ": no XSE data found\n";
    const std::string err =
        "xse: " + std::string(opened ? "" : "cannot open ") + input.path + input.err;
    for (const char* command : {"info", "dump", "soundings"}) {
      const ToolResult result = RunXse({command, input.path, good});
      EXPECT_EQ(result.status, 1) << command << " " << input.path;
      EXPECT_THAT(result.err, StartsWith(err)) << command;
      EXPECT_NE(result.out, "") << command;
    }
    const ToolResult plot =
        RunXse({"plot", "--kind", "track", input.path, "-o", dir.File("o.png")});
    EXPECT_EQ(plot, (ToolResult{1, "", err}));
    // "-" reads standard input as a stream, with the same answers.
    if (!opened && input.err != ": file is empty\n") continue;
    for (const char* command : {"info", "dump", "soundings"}) {
      const ToolResult result = RunXseReading(input.path, {command, "-", good});
      EXPECT_EQ(result.status, 1) << command << " - < " << input.path;
      EXPECT_THAT(result.err,
                  StartsWith(opened ? "xse: -" + input.err : "xse: cannot open -" + input.err));
    }
  }
  EXPECT_EQ(RunXseReading(good, {"dump", "-"}), RunXse({"dump", good}));
  EXPECT_EQ(RunXseReading(good, {"plot", "--kind", "track", "-", "-o", dir.File("o.png")}),
            (ToolResult{1, "",
                        "xse: -: plot reads its input twice and cannot take a stream: save it "
                        "to a file first\n"}));
  // Outputs that cannot be written and a served file that cannot be opened.
  const std::string unwritable = dir.File("no/such/o"), missing = dir.File("missing.xse");
  const std::string noFile = ": No such file or directory\n";
  EXPECT_EQ(RunXse({"plot", "--kind", "track", good, "-o", unwritable}),
            (ToolResult{1, "", "xse: cannot write " + unwritable + noFile}));
  EXPECT_EQ(RunXse({"gen", unwritable}),
            (ToolResult{1, "", "xse: cannot write " + unwritable + noFile}));
  EXPECT_EQ(RunXse({"serve", missing}),
            (ToolResult{1, "", "xse: cannot open " + missing + noFile}));
  // gen - writes the survey to stdout, byte for byte the file's.
  const ToolResult piped = RunXse({"gen", "--duration", "1", "-"});
  EXPECT_EQ(piped.status, 0);
  EXPECT_EQ(piped.out, ReadWholeFile(good));
  EXPECT_THAT(piped.err, StartsWith("standard output: "));
  // With --with-file each row says which file it came from.
  EXPECT_THAT(RunXse({"dump", "--with-file", "--kind", "startTime", "--limit", "1", good}).out,
              StartsWith("{\"file\":\"" + good + "\",\"kind\":\"startTime\","));
  const std::string csv =
      RunXse({"dump", "--with-file", "--format", "csv", "--kind", "gyro", "--limit", "1", good})
          .out;
  EXPECT_THAT(csv, StartsWith("file,valid,"));
  EXPECT_THAT(csv, HasSubstr("\n" + good + ",1,"));
  EXPECT_THAT(RunXse({"soundings", "--with-file", good}).out,
              testing::AllOf(StartsWith("file,time,"), HasSubstr("\n" + good + ",20")));
}

TEST(XseTool, EveryCommandHasHelpOnStdout) {
  const auto overview = RunXse({"--help"});
  EXPECT_EQ(overview.status, 0);
  EXPECT_THAT(RunXse({"--version"}).out,
              testing::AllOf(StartsWith("xse "), HasSubstr("."), testing::EndsWith("\n")));
  for (const auto& [command, usage] : kUsage) {
    EXPECT_THAT(overview.out, HasSubstr("\n  " + command + " "));
    const auto result = RunXse({command, "--help"});
    EXPECT_EQ(result.status, 0) << command;
    EXPECT_THAT(result.out, StartsWith(usage)) << command;
    EXPECT_EQ(result.err, "");
  }
}

// File names are UTF-8 on every system, in the arguments, in what the tool
// prints and in the files it opens and writes.
TEST(XseTool, FileNamesOutsideAsciiAreReadAndWrittenAsGiven) {
  TempDir dir;
  std::filesystem::create_directory(dir.path() / Utf8Path("\u00dcberfahrt 3"));
  const std::string survey = dir.File("\u00dcberfahrt 3/Pr\u00fcfung \u6d4b.xse"),
                    picture = dir.File("\u00dcberfahrt 3/Spur \u00e9t\u00e9.png");
  EXPECT_EQ(RunXse({"gen", "--duration", "1", survey}).status, 0);
  EXPECT_EQ(RunXse({"check", survey}), (ToolResult{0, survey + ": yes\n", ""}));
  EXPECT_EQ(RunXse({"plot", "--kind", "track", survey, "-o", picture}).status, 0);
  EXPECT_EQ(ReadWholeFile(picture).substr(1, 3), "PNG");
  const ToolResult info = RunXse({"info", survey});
  EXPECT_EQ(info.status, 0) << info.err;
  EXPECT_THAT(info.out, StartsWith(survey + "\n  size"));
}

}  // namespace
