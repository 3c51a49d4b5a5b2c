#include "platform/errortext.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace platform {
namespace {

// The same words on every system, whatever its runtime says itself.
TEST(ErrorTextTest, GivesTheSameEnglishTextsOnEverySystem) {
  const std::pair<int, const char*> kCases[] = {
      {ENOENT, "No such file or directory"}, {EACCES, "Permission denied"},
      {ENOMEM, "Cannot allocate memory"},    {ECONNREFUSED, "Connection refused"},
      {ETIMEDOUT, "Connection timed out"},   {-1, "Unknown error -1"},
      {100000, "Unknown error 100000"}};
  for (const auto& [error, text] : kCases) EXPECT_EQ(ErrorText(error), text) << error;
  EXPECT_GT(KnownErrorTextCount(), ETIMEDOUT);
  EXPECT_EQ(ErrorText(KnownErrorTextCount()),
            "Unknown error " + std::to_string(KnownErrorTextCount()));
}

}  // namespace
}  // namespace platform
