#include "libsys/zkeelonini.h"

#include <gtest/gtest.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <utility>

#include "libsystestsupport.h"
#include "support/runtool.h"
#include "support/tempdir.h"

namespace {

class KeelonIniTest : public ::testing::Test {
 protected:
  void SetUp() override { std::filesystem::create_directory(home_.path() / "Setup"); }

  xsetest::TempDir home_;
  const std::filesystem::path settings_ = home_.path() / "Setup" / "Keelon.ini";
  libsystest::ScopedEnvironment quorhome_{"QUORHOME", home_.Folder().c_str()};
};

TEST_F(KeelonIniTest, FilesLieUnderQuorhomeOrTheCustomaryRoot) {
  const std::string home = home_.Folder();
  // Unset and empty both fall back, with E_FAIL.
  for (const char* value : {home.c_str(), static_cast<const char*>(nullptr), ""}) {
    libsystest::ScopedEnvironment quorhome("QUORHOME", value);
    const std::string root = value == home.c_str() ? home : "c:\\qUoR\\kEeLoN";
    int32_t status = 1;
    EXPECT_EQ(KeelonIniPath(false, &status), root + "/Setup/Keelon.ini");
    EXPECT_EQ(status, value == home.c_str() ? S_OK : E_FAIL);
    EXPECT_EQ(KeelonIniPath(true), root + "/Setup/Keelon.default.ini");
    EXPECT_EQ(ZKeelonIni("pilotdesk").path(), root + "/Setup/Keelon.ini");
  }
}

TEST_F(KeelonIniTest, ReadTraceSettingsReadsNameAndLevel) {
  const std::string path = settings_.string();
  // Settings path, file content (null: none), status, trace file and level
  // read. A null path stands for an empty one: every operation fails.
  const std::tuple<const char*, const char*, int32_t, const char*, int32_t> kCases[] = {
      {path.c_str(), nullptr, S_OK, "pilotdesk.log", 0},
      {path.c_str(), "[PilotDesk]\ntracefile = /var/log/x.log\nTrace=3\n", S_OK, "/var/log/x.log",
       3},
      {path.c_str(), "[pilotdesk]\nTRACEFILE=\nTRACE=2\n", E_FAIL, "unchanged", 0},
      {nullptr, "[pilotdesk]\nTRACEFILE=t.log\nTRACE=2\n", E_INVALIDARG, "unchanged", 0}};
  for (const auto& [iniPath, content, status, expectedFile, expectedLevel] : kCases) {
    std::filesystem::remove(settings_);
    if (content != nullptr) std::ofstream(settings_) << content;
    std::string traceFile = "unchanged";
    int32_t level = 99;
    EXPECT_EQ(ZGenericIni(iniPath, "pilotdesk").ReadTraceSettings(traceFile, level), status);
    EXPECT_EQ(traceFile, expectedFile);
    EXPECT_EQ(level, expectedLevel);
  }
  ZGenericIni ini(nullptr, "pilotdesk");
  EXPECT_EQ(ini.ReadString("pilotdesk", "TRACE", "dflt"), 0u);
  EXPECT_STREQ(ZGenericIni::Value(), "");
  EXPECT_FALSE(ini.WriteInt("k", 1));
}

TEST_F(KeelonIniTest, WritesGoToTheObjectsSectionAndReadsToTheSharedBuffer) {
  ZKeelonIni ini("pilotdesk");
  EXPECT_TRUE(ini.WriteString("TRACEFILE", "t.log"));
  EXPECT_TRUE(ini.WriteInt("TRACE", 3));
  std::ofstream(settings_, std::ios::app) << "[b]\nk=bee\n";
  EXPECT_EQ(xsetest::ReadTextFile(settings_),
            "[pilotdesk]\nTRACEFILE=t.log\nTRACE=3\n[b]\nk=bee\n");
  // The section argument counts, not the object's own; every object shares
  // the buffer.
  EXPECT_EQ(ini.ReadString("b", "k", ""), 3u);
  EXPECT_STREQ(ZKeelonIni("other").Value(), "bee");
  EXPECT_EQ(ini.ReadString("b", "missing", "dflt"), 4u);
  EXPECT_STREQ(ZGenericIni::Value(), "dflt");
  // Failed writes go unreported.
  ZGenericIni nowhere(home_.File("no-such-folder/x.ini").c_str(), "s");
  EXPECT_TRUE(nowhere.WriteString("k", "v"));
  EXPECT_FALSE(std::filesystem::exists(home_.path() / "no-such-folder"));
}

TEST_F(KeelonIniTest, ParseIntScansLikePercentD) {
  // 7 marks a value left untouched: no number found.
  const std::pair<const char*, int32_t> kCases[] = {{"2abc", 2},
                                                    {"abc", 7},
                                                    {"  -17x", -17},
                                                    {"0x10", 0},
                                                    {"-", 7},
                                                    {"99999999999", INT_MAX},
                                                    {"-99999999999", INT_MIN}};
  // A missing key puts the default text into the buffer (an empty path
  // would empty it instead, so read from a file that does not exist).
  ZGenericIni reader(home_.File("none.ini").c_str(), "s");
  for (const auto& [text, expected] : kCases) {
    reader.ReadString("s", "k", text);
    int32_t value = 7;
    EXPECT_EQ(ZGenericIni::ParseInt(value), expected != 7) << text;
    EXPECT_EQ(value, expected) << text;
  }
}

}  // namespace
