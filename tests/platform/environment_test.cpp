#include "platform/environment.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace platform {
namespace {

TEST(EnvironmentTest, TellsMissingFromEmptyAndKeepsUtf8) {
  const char* const name = "XSE_TEST_ENVIRONMENT_VALUE";
  // Value set (null: removed), value read back.
  const std::pair<const char*, std::optional<std::string>> kSteps[] = {
      {"plain", "plain"},
      {"", ""},
      {nullptr, std::nullopt},
      {"C:/\u00DCberfahrt 3/x=y", "C:/\u00DCberfahrt 3/x=y"},  // "Überfahrt"
      {nullptr, std::nullopt}};
  for (const auto& [value, expected] : kSteps) {
    EXPECT_TRUE(SetEnvironmentVariable(name, value));
    EXPECT_EQ(GetEnvironmentVariable(name), expected) << (value != nullptr ? value : "(removed)");
  }
}

TEST(EnvironmentTest, RefusesNamesThatCannotBeVariables) {
  for (const char* name : {static_cast<const char*>(nullptr), "", "A=B"}) {
    EXPECT_FALSE(SetEnvironmentVariable(name, "v")) << (name != nullptr ? name : "(null)");
  }
  EXPECT_EQ(GetEnvironmentVariable(nullptr), std::nullopt);
  EXPECT_EQ(GetEnvironmentVariable("XSE_TEST_NEVER_SET_ANYWHERE"), std::nullopt);
}

}  // namespace
}  // namespace platform
