#include "platform/messagebox.h"

#include <gtest/gtest.h>

namespace {

// Without a window system the box is a line on standard error.
TEST(MessageBoxPosixTest, TheDefaultWritesToStandardError) {
  ::testing::internal::CaptureStderr();
  platform::ShowMessageBox("Error", "disk full");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Error: disk full\n");
}

}  // namespace
