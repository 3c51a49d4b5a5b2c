// Module start-up and shut-down as a host process sees them: the module is
// loaded by `xse run` in a child process, from a copy placed where the test
// wants it, with the settings the test writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "libsys/libsystestsupport.h"
#include "platform/modulepath.h"
#include "support/regexmatch.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using xsetest::MatchesRegex;

struct StartUpCase {
  const char* folder;    // where the module lies, under the test folder
  const char* settings;  // the main settings file
  const char* stem;      // of the per-process trace file
  int setting;           // 0: no trace
};

class ModuleStartUpTest : public ::testing::TestWithParam<StartUpCase> {
 protected:
  // Runs `xse run` over a small file with the module placed in `folder`;
  // returns the module's path and the names of every file the run left in
  // the log and working folders.
  std::vector<std::string> Run(std::string& module) {
    const fs::path root = dir_.path();
    for (const char* folder : {"home/Setup", "home/log", "work", GetParam().folder}) {
      fs::create_directories(root / folder);
    }
    module =
        dir_.File(std::string(GetParam().folder) + "/" + platform::ModuleFileName("xsereader"));
    fs::copy_file(xsetest::Utf8Path(XSE_TEST_READER_MODULE), xsetest::Utf8Path(module));
    std::ofstream(root / "home/Setup/Keelon.ini") << GetParam().settings;
    const std::string data = dir_.Write("data.xse", xsetest::PositionFrames(3));
    const xsetest::ToolResult result =
        xsetest::RunToolWith(XSE_XSE_TOOL, {"run", data}, dir_.File("work"),
                             {{"XSE_READER_MODULE", module}, {"QUORHOME", dir_.File("home")}});
    EXPECT_EQ(result.status, 0) << result.err;
    std::vector<std::string> names;
    for (const char* folder : {"home/log", "work"}) {
      for (const auto& entry : fs::directory_iterator(root / folder)) {
        names.push_back(std::string(folder) + "/" + entry.path().filename().string());
      }
    }
    return names;
  }

  xsetest::TempDir dir_;
};

// "hh:mm:ss|tid|source@line|text", the layout of ordinary events.
std::string EventLine(const std::string& text) {
  return "[0-9:]{8}\\| *[0-9]+\\|[^|]*@[0-9]+\\|" + text;
}

TEST_P(ModuleStartUpTest, TraceRunsFromAttachToDetachInAPerProcessFileOrLeavesNoFile) {
  std::string module;
  const std::vector<std::string> files = Run(module);
  if (GetParam().setting == 0) {
    EXPECT_THAT(files, ::testing::IsEmpty());
    return;
  }
  ASSERT_EQ(files.size(), 1u);
  EXPECT_THAT(files[0],
              MatchesRegex("home/log/" + std::string(GetParam().stem) + "\\.[0-9]+\\.log"));
  const std::vector<std::string> lines = libsystest::ReadLines(dir_.path() / files[0]);
  ASSERT_GE(lines.size(), 4u);
  EXPECT_THAT(lines.front(),
              MatchesRegex("[0-9:]{8}\\|" + module + " module attached with trace " +
                           std::to_string(GetParam().setting) + " - Build: '[^']+'"));
  EXPECT_THAT(lines[1], MatchesRegex(EventLine("XSEReader\\.DLL initiated!")));
  EXPECT_THAT(lines[lines.size() - 2], MatchesRegex(EventLine("XSEReader\\.DLL terminated!")));
  EXPECT_THAT(lines.back(), MatchesRegex("[0-9:]{8}\\|" + module + " module detached"));
  for (const char* text : {"ZXSEReader::ZXSEReader\\(\\)", "RunReader\\(\\)",
                           "RunReader\\(\\) done", "ZXSEReader::~ZXSEReader\\(\\)"}) {
    EXPECT_THAT(lines, Contains(MatchesRegex(EventLine(text))));
  }
  EXPECT_EQ(::testing::Matches(Contains(MatchesRegex(".*HandlePosition\\(\\)")))(lines),
            GetParam().setting == 2);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ModuleStartUpTest,
    ::testing::Values(StartUpCase{"keelon", "[pilotdesk]\nTRACE=2\n", "pilotdesk", 2},
                      StartUpCase{"opt/KeeLon/lib",
                                  "[pilotdesk]\nTRACE=1\nTRACEFILE=dev.trace.log\n", "dev", 1},
                      // Off: no settings (which settings turn the trace off is the
                      // settings reader's and the trace's own test), a module outside a
                      // keelon path.
                      StartUpCase{"keelon", "", "", 0},
                      StartUpCase{"quor", "[pilotdesk]\nTRACE=2\n", "", 0}));

}  // namespace
