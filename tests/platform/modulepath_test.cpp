#include "platform/modulepath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/dynamiclibrary.h"
#include "platform/paths.h"
#include "platform/systemfacts.h"
#include "support/tempdir.h"

namespace platform {
namespace {

using ::testing::EndsWith;
using ::testing::HasSubstr;

int g_anchor = 0;

TEST(ModulePathTest, TellsWhichModuleHoldsAnAddress) {
  const std::string program = ExecutablePath();
  ASSERT_FALSE(program.empty());
  EXPECT_EQ(program.find('\\'), std::string::npos) << program;
  const std::filesystem::path asPath = xsetest::Utf8Path(program);
  EXPECT_TRUE(
      EntryExists(xsetest::Utf8Text(asPath.parent_path()), xsetest::Utf8Text(asPath.filename())));
  EXPECT_THAT(program, HasSubstr("test_platform"));

  const std::optional<ModuleInfo> self = ModuleContaining(&g_anchor);
  ASSERT_TRUE(self.has_value());
  EXPECT_EQ(self->path, program);

  DynamicLibrary library;
  ASSERT_TRUE(library.Open(platformtest::kMathLibrary)) << library.error();
  const std::optional<ModuleInfo> other = ModuleContaining(library.Symbol("cos"));
  ASSERT_TRUE(other.has_value());
  EXPECT_NE(other->base, self->base);
  EXPECT_THAT(other->path, EndsWith(platformtest::kMathLibrary));

  EXPECT_EQ(ModuleContaining(nullptr), std::nullopt);
}

TEST(ModulePathTest, FindsAModuleBesideTheProgramElseWhereItWasBuilt) {
  const std::string built = "/build/tree/" + ModuleFileName("xse_nothing");
  EXPECT_EQ(FindModuleBesideProgram(ModuleFileName("xse_nothing"), "", built), built);
  EXPECT_EQ(FindModuleBesideProgram(ModuleFileName("xse_nothing"), "../nowhere/x", built), built);
  // The program itself is a file beside the program.
  const std::filesystem::path program = xsetest::Utf8Path(ExecutablePath());
  EXPECT_EQ(FindModuleBesideProgram(xsetest::Utf8Text(program.filename()), "", built),
            ExecutablePath());
  EXPECT_EQ(FindModuleBesideProgram(ModuleFileName("xse_nothing"),
                                    "../" + xsetest::Utf8Text(program.parent_path().filename()) +
                                        "/" + xsetest::Utf8Text(program.filename()),
                                    built),
            ExecutablePath());
}

}  // namespace
}  // namespace platform
