#include "platform/namedmutex.h"

#include <gtest/gtest.h>

#include <string>

#include "platform/processinfo.h"
#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

namespace platform {
namespace {

bool SystemObjectExists(const std::string& name) {
  const HANDLE handle = ::OpenMutexW(SYNCHRONIZE, FALSE, WidenUtf8(name).c_str());
  if (handle == nullptr) return false;
  ::CloseHandle(handle);
  return true;
}

// The system's mutex goes with its last handle; the names are the ones the
// mutex was created under, slashes and all.
TEST(NamedMutexWindowsTest, SystemObjectLivesAsLongAsAnyHandle) {
  const std::string name = "C:/xse-test-" + std::to_string(CurrentProcessId()) + "/lifetime.log";
  NamedMutex* first = CreateNamedMutex(name.c_str());
  NamedMutex* second = CreateNamedMutex(name.c_str());
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  CloseNamedMutex(first);
  EXPECT_TRUE(SystemObjectExists(name));
  CloseNamedMutex(second);
  EXPECT_FALSE(SystemObjectExists(name));
}

}  // namespace
}  // namespace platform
