// Module start-up and shut-down as a host process sees them: the module is
// loaded by `xse run` in a child process, from a copy placed where the test
// wants it, with the settings the test writes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "interpreters/xsereader/xsereadertestsupport.h"
#include "support/runtoolwith.h"
#include "support/tempdir.h"

namespace {

namespace fs = std::filesystem;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

class ModuleStartUpTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(root() / "home" / "Setup");
    fs::create_directories(root() / "home" / "log");
    fs::create_directories(root() / "work");
    data_ = dir_.Write("data.xse", xsetest::PositionFrames(3));
  }

  const fs::path& root() const { return dir_.path(); }

  // Copies the built module into `folder` under the test folder.
  std::string PlaceModule(const std::string& folder) const {
    fs::create_directories(root() / folder);
    const fs::path copy = root() / folder / "xsereader.so";
    fs::copy_file(XSE_TEST_READER_MODULE, copy, fs::copy_options::overwrite_existing);
    return copy.string();
  }

  void WriteSettings(const std::string& body) const {
    std::ofstream(root() / "home" / "Setup" / "Keelon.ini") << body;
  }

  xsetest::ToolResult Run(const std::string& module) const {
    return xsetest::RunToolWith(
        XSE_XSE_TOOL, {"run", data_}, (root() / "work").string(),
        {{"XSE_READER_MODULE", module}, {"QUORHOME", (root() / "home").string()}});
  }

  // Every file the run left in the log folder and the working folder.
  std::vector<std::string> LeftBehind() const {
    std::vector<std::string> names;
    for (const char* folder : {"home/log", "work"}) {
      for (const auto& entry : fs::directory_iterator(root() / folder)) {
        names.push_back(std::string(folder) + "/" + entry.path().filename().string());
      }
    }
    return names;
  }

  std::vector<std::string> TraceLines() const {
    const std::vector<std::string> files = LeftBehind();
    EXPECT_EQ(files.size(), 1u);
    std::vector<std::string> lines;
    if (files.size() != 1) return lines;
    EXPECT_THAT(files[0], MatchesRegex("home/log/pilotdesk\\.[0-9]+\\.log"));
    std::ifstream in(root() / files[0]);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
  }

  static bool Contains(const std::vector<std::string>& lines, const std::string& pattern) {
    const std::regex wanted(pattern);
    for (const auto& line : lines) {
      if (std::regex_match(line, wanted)) return true;
    }
    return false;
  }

  xsetest::TempDir dir_;
  std::string data_;
};

// "hh:mm:ss|tid|source@line|text", the layout of ordinary events.
std::string EventLine(const std::string& text) {
  return "[0-9:]{8}\\| *[0-9]+\\|[^|]*@[0-9]+\\|" + text;
}

TEST_F(ModuleStartUpTest, VerboseTraceRunsFromAttachToDetach) {
  const std::string module = PlaceModule("keelon");
  WriteSettings("[pilotdesk]\nTRACE=2\n");
  const xsetest::ToolResult result = Run(module);
  ASSERT_EQ(result.status, 0) << result.err;

  const std::vector<std::string> lines = TraceLines();
  ASSERT_GE(lines.size(), 4u);
  EXPECT_THAT(lines.front(), MatchesRegex("[0-9:]{8}\\|" + module +
                                          " module attached with trace 2 - Build: '[^']+'"));
  EXPECT_THAT(lines[1], MatchesRegex(EventLine("XSEReader\\.DLL initiated!")));
  EXPECT_THAT(lines[lines.size() - 2], MatchesRegex(EventLine("XSEReader\\.DLL terminated!")));
  EXPECT_THAT(lines.back(), MatchesRegex("[0-9:]{8}\\|" + module + " module detached"));
  EXPECT_TRUE(Contains(lines, EventLine("ZXSEReader::ZXSEReader\\(\\)")));
  EXPECT_TRUE(Contains(lines, EventLine("RunReader\\(\\)")));
  EXPECT_TRUE(Contains(lines, "HandlePosition\\(\\)"));
  EXPECT_TRUE(Contains(lines, EventLine("RunReader\\(\\) done")));
  EXPECT_TRUE(Contains(lines, EventLine("ZXSEReader::~ZXSEReader\\(\\)")));
}

TEST_F(ModuleStartUpTest, NormalTraceLeavesOutVerboseLines) {
  const std::string module = PlaceModule("opt/KeeLon/lib");
  WriteSettings("[pilotdesk]\nTRACE=1\nTRACEFILE=dev.trace.log\n");
  ASSERT_EQ(Run(module).status, 0);
  const std::vector<std::string> files = LeftBehind();
  ASSERT_EQ(files.size(), 1u);
  EXPECT_THAT(files[0], MatchesRegex("home/log/dev\\.[0-9]+\\.log"));
  std::ifstream in(root() / files[0]);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  EXPECT_FALSE(Contains(lines, "HandlePosition\\(\\)"));
  EXPECT_TRUE(Contains(lines, EventLine("RunReader\\(\\) done")));
}

struct SilentCase {
  const char* folder;
  const char* settings;
};

class SilentModuleTest : public ModuleStartUpTest,
                         public ::testing::WithParamInterface<SilentCase> {};

TEST_P(SilentModuleTest, LoadAndUnloadLeaveNoFileBehind) {
  const std::string module = PlaceModule(GetParam().folder);
  WriteSettings(GetParam().settings);
  const xsetest::ToolResult result = Run(module);
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_THAT(LeftBehind(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Cases, SilentModuleTest,
                         ::testing::Values(SilentCase{"keelon", "[pilotdesk]\nTRACE=0\n"},
                                           SilentCase{"keelon", "[pilotdesk]\nTRACE=3\n"},
                                           SilentCase{"keelon", ""},
                                           SilentCase{"quor", "[pilotdesk]\nTRACE=2\n"}));

}  // namespace
