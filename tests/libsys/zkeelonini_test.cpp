#include "libsys/zkeelonini.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <climits>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "platform/environment.h"

namespace {

// Sets (or, with null, removes) an environment variable for one scope.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value)
      : name_(name), saved_(platform::GetEnvironmentVariable(name)) {
    platform::SetEnvironmentVariable(name, value);
  }
  ~ScopedEnvironment() {
    platform::SetEnvironmentVariable(name_, saved_ ? saved_->c_str() : nullptr);
  }

 private:
  const char* name_;
  std::optional<std::string> saved_;
};

class KeelonIniTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (std::filesystem::temp_directory_path() / "quorhome-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    home_ = pattern;
    std::filesystem::create_directory(home_ / "Setup");
    quorhome_.emplace("QUORHOME", home_.c_str());
  }
  void TearDown() override {
    quorhome_.reset();
    std::filesystem::remove_all(home_);
  }
  void WriteSettings(const std::string& content) {
    std::ofstream(home_ / "Setup" / "Keelon.ini", std::ios::binary) << content;
  }

  std::filesystem::path home_;
  std::optional<ScopedEnvironment> quorhome_;
};

TEST_F(KeelonIniTest, MainFileLiesUnderQuorhome) {
  int32_t status = 1;
  EXPECT_EQ(KeelonIniPath(false, &status), home_.string() + "/Setup/Keelon.ini");
  EXPECT_EQ(status, S_OK);
  EXPECT_EQ(KeelonIniPath(true), home_.string() + "/Setup/Keelon.default.ini");
  EXPECT_EQ(ZKeelonIni("pilotdesk").path(), home_.string() + "/Setup/Keelon.ini");
}

TEST_F(KeelonIniTest, MissingOrEmptyQuorhomeFallsBackToTheCustomaryRoot) {
  for (const char* value : {static_cast<const char*>(nullptr), ""}) {
    ScopedEnvironment quorhome("QUORHOME", value);
    int32_t status = 0;
    EXPECT_EQ(KeelonIniPath(false, &status), "c:\\qUoR\\kEeLoN/Setup/Keelon.ini");
    EXPECT_EQ(status, E_FAIL);
    EXPECT_EQ(KeelonIniPath(true), "c:\\qUoR\\kEeLoN/Setup/Keelon.default.ini");
  }
}

struct TraceCase {
  const char* name;
  const char* content;  // null: no settings file
  int32_t status;
  const char* traceFile;
  int32_t level;
};

const TraceCase kTraceCases[] = {
    {"NoFile", nullptr, S_OK, "pilotdesk.log", 0},
    {"NoTraceFileKey", "[pilotdesk]\nTRACE=1\n", S_OK, "pilotdesk.log", 1},
    {"BothKeys", "[PilotDesk]\ntracefile = /var/log/x.log\nTrace=3\n", S_OK, "/var/log/x.log", 3},
    {"EmptyTraceFile", "[pilotdesk]\nTRACEFILE=\nTRACE=2\n", E_FAIL, "unchanged", 0},
    {"LevelWithTrailingText", "[pilotdesk]\nTRACE=2abc\n", S_OK, "pilotdesk.log", 2},
    {"LevelNotANumber", "[pilotdesk]\nTRACE=abc\n", S_OK, "pilotdesk.log", 0},
    {"LevelEmpty", "[pilotdesk]\nTRACE=\n", S_OK, "pilotdesk.log", 0},
    {"LevelNegative", "[pilotdesk]\nTRACE=-1\n", S_OK, "pilotdesk.log", -1},
    {"OtherSectionIgnored", "[other]\nTRACEFILE=o.log\nTRACE=3\n", S_OK, "pilotdesk.log", 0},
};

class ReadTraceSettingsTest : public KeelonIniTest,
                              public ::testing::WithParamInterface<TraceCase> {};

TEST_P(ReadTraceSettingsTest, ReadsNameAndLevel) {
  const TraceCase& c = GetParam();
  if (c.content != nullptr) WriteSettings(c.content);
  std::string traceFile = "unchanged";
  int32_t level = 99;
  EXPECT_EQ(ZKeelonIni("pilotdesk").ReadTraceSettings(traceFile, level), c.status);
  EXPECT_EQ(traceFile, c.traceFile);
  EXPECT_EQ(level, c.level);
}

INSTANTIATE_TEST_SUITE_P(Cases, ReadTraceSettingsTest, ::testing::ValuesIn(kTraceCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(KeelonIniTest, ObjectWithoutPathFailsEveryOperation) {
  for (const char* path : {static_cast<const char*>(nullptr), ""}) {
    ZGenericIni ini(path, "pilotdesk");
    std::string traceFile = "unchanged";
    int32_t level = 99;
    EXPECT_EQ(ini.ReadTraceSettings(traceFile, level), E_INVALIDARG);
    EXPECT_EQ(traceFile, "unchanged");
    EXPECT_EQ(level, 0);
    EXPECT_EQ(ini.ReadString("pilotdesk", "TRACE", "dflt"), 0u);
    EXPECT_STREQ(ZGenericIni::Value(), "");
    EXPECT_FALSE(ini.WriteString("k", "v"));
    EXPECT_FALSE(ini.WriteInt("k", 1));
  }
}

TEST_F(KeelonIniTest, ReadStringFillsTheSharedBufferCutTo254) {
  WriteSettings("[a]\nk=" + std::string(400, 'x') + "\n[b]\nk=bee\n");
  ZKeelonIni ini("a");
  EXPECT_EQ(ini.ReadString("a", "k", ""), 254u);
  EXPECT_EQ(std::string(ZGenericIni::Value()), std::string(254, 'x'));
  // The section argument counts, not the object's own.
  EXPECT_EQ(ini.ReadString("b", "k", ""), 3u);
  EXPECT_STREQ(ZKeelonIni("other").Value(), "bee");
  EXPECT_EQ(ini.ReadString("b", "missing", "dflt"), 4u);
  EXPECT_STREQ(ZGenericIni::Value(), "dflt");
}

TEST_F(KeelonIniTest, ParseIntScansLikePercentD) {
  const struct {
    const char* text;
    bool found;
    int32_t value;
  } kCases[] = {
      {"2abc", true, 2},
      {"abc", false, 7},
      {"", false, 7},
      {"  -17x", true, -17},
      {"+5", true, 5},
      {"0x10", true, 0},
      {"-", false, 7},
      {"99999999999", true, INT_MAX},
      {"-99999999999", true, INT_MIN},
  };
  for (const auto& c : kCases) {
    // A missing key puts the default text into the buffer (an empty path
    // would empty it instead, so read from a file that does not exist).
    ZGenericIni reader((home_ / "none.ini").c_str(), "s");
    reader.ReadString("s", "k", c.text);
    int32_t value = 7;
    EXPECT_EQ(ZGenericIni::ParseInt(value), c.found) << c.text;
    EXPECT_EQ(value, c.value) << c.text;
  }
}

TEST_F(KeelonIniTest, WritesGoToTheObjectsSection) {
  ZKeelonIni ini("pilotdesk");
  EXPECT_TRUE(ini.WriteString("TRACEFILE", "t.log"));
  EXPECT_TRUE(ini.WriteInt("TRACE", -2147483647 - 1));
  EXPECT_TRUE(ini.WriteInt("TRACE", 3));
  std::string traceFile;
  int32_t level = 0;
  EXPECT_EQ(ini.ReadTraceSettings(traceFile, level), S_OK);
  EXPECT_EQ(traceFile, "t.log");
  EXPECT_EQ(level, 3);
  std::ifstream in(home_ / "Setup" / "Keelon.ini");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}),
            "[pilotdesk]\nTRACEFILE=t.log\nTRACE=3\n");
}

TEST_F(KeelonIniTest, FailedPlatformWriteStillReportsSuccess) {
  ZGenericIni ini((home_ / "no-such-folder" / "x.ini").c_str(), "s");
  EXPECT_TRUE(ini.WriteString("k", "v"));
  EXPECT_FALSE(std::filesystem::exists(home_ / "no-such-folder"));
}

}  // namespace
