#include "platform/dynamiclibrary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <utility>

namespace platform {
namespace {

using ::testing::HasSubstr;

// The C maths library is present on every system the project builds on.
constexpr char kMathLibrary[] = "libm.so.6";

TEST(DynamicLibraryTest, LoadsAndCallsAnExportedFunction) {
  DynamicLibrary library;
  ASSERT_TRUE(library.Open(kMathLibrary)) << library.error();
  const auto cosine = library.Function<double (*)(double)>("cos");
  ASSERT_NE(cosine, nullptr);
  EXPECT_EQ(cosine(0.0), 1.0);
  EXPECT_EQ(library.Symbol("no_such_symbol_here"), nullptr);
  EXPECT_THAT(library.error(), HasSubstr("no_such_symbol_here"));
  EXPECT_TRUE(library.Close());
  EXPECT_FALSE(library.IsOpen());
  EXPECT_EQ(library.Symbol("cos"), nullptr);
}

TEST(DynamicLibraryTest, MissingFileFailsWithTheReason) {
  DynamicLibrary library;
  EXPECT_FALSE(library.Open("/nonexistent/folder/libnothing.so"));
  EXPECT_FALSE(library.IsOpen());
  EXPECT_THAT(library.error(), HasSubstr("libnothing.so"));
}

TEST(DynamicLibraryTest, MovingHandsOverTheLibrary) {
  DynamicLibrary first;
  ASSERT_TRUE(first.Open(kMathLibrary));
  DynamicLibrary second(std::move(first));
  EXPECT_FALSE(
      first.IsOpen());  // NOLINT(bugprone-use-after-move): the moved-from state is the point
  EXPECT_NE(second.Symbol("cos"), nullptr);
  DynamicLibrary third;
  third = std::move(second);
  EXPECT_NE(third.Symbol("sin"), nullptr);
}

}  // namespace
}  // namespace platform
