#include "platform/dynamiclibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

#include "platform/modulepath.h"
#include "platform/systemfacts.h"

namespace platform {
namespace {

using ::testing::HasSubstr;

TEST(DynamicLibraryTest, LoadsCallsMovesAndClosesAndFailuresTellTheReason) {
  DynamicLibrary first;
  const std::string missing = ModuleFileName("libnothing");
  EXPECT_FALSE(first.Open("/nonexistent/folder/" + missing));
  EXPECT_FALSE(first.IsOpen());
  EXPECT_THAT(first.error(), HasSubstr(missing));
  ASSERT_TRUE(first.Open(platformtest::kMathLibrary)) << first.error();
  DynamicLibrary second(std::move(first)), library;
  library = std::move(second);
  const auto cosine = library.Function<double (*)(double)>("cos");
  ASSERT_NE(cosine, nullptr);
  EXPECT_EQ(cosine(0.0), 1.0);
  EXPECT_EQ(library.Symbol("no_such_symbol_here"), nullptr);
  EXPECT_THAT(library.error(), HasSubstr("no_such_symbol_here"));
  EXPECT_TRUE(library.Close());
  EXPECT_FALSE(library.IsOpen());
  EXPECT_EQ(library.Symbol("cos"), nullptr);
}

}  // namespace
}  // namespace platform
