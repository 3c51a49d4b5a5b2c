#include "platform/file.h"

#include <gtest/gtest.h>

#include "platform/processinfo.h"
#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

namespace platform {
namespace {

// A pipe has no end to read to; a reader must refuse it rather than wait.
TEST(ReadOnlyFileWindowsTest, RefusesANamedPipeWithoutWaiting) {
  const std::string name = "\\\\.\\pipe\\xse-test-" + std::to_string(CurrentProcessId());
  const HANDLE server = ::CreateNamedPipeW(WidenUtf8(name).c_str(), PIPE_ACCESS_OUTBOUND,
                                           PIPE_TYPE_BYTE, 1, 4096, 4096, 0, nullptr);
  ASSERT_NE(server, INVALID_HANDLE_VALUE);
  ReadOnlyFile file;
  EXPECT_FALSE(file.Open(name));
  EXPECT_EQ(file.error(), ReadOnlyFile::kNotARegularFile);
  ::CloseHandle(server);
}

}  // namespace
}  // namespace platform
