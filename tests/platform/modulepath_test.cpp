#include "platform/modulepath.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "platform/dynamiclibrary.h"

namespace platform {
namespace {

const int g_insideTheProgram = 0;

TEST(ModulePathTest, EachModuleIsFoundByAnAddressInsideItAndNothingHoldsNull) {
  const std::string program = ExecutablePath();
  ASSERT_TRUE(std::filesystem::path(program).is_absolute());
  EXPECT_TRUE(std::filesystem::exists(program));
  const std::optional<ModuleInfo> self = ModuleContaining(&g_insideTheProgram);
  ASSERT_TRUE(self.has_value());
  EXPECT_EQ(self->path, program);
  EXPECT_FALSE(ModuleContaining(nullptr).has_value());
  DynamicLibrary library;
  ASSERT_TRUE(library.Open("libm.so.6"));
  const std::optional<ModuleInfo> module = ModuleContaining(library.Symbol("cos"));
  ASSERT_TRUE(module.has_value());
  EXPECT_THAT(module->path, ::testing::HasSubstr("libm"));
  EXPECT_TRUE(std::filesystem::path(module->path).is_absolute());
  EXPECT_NE(module->base, self->base);
}

}  // namespace
}  // namespace platform
