#include "platform/namedmutex.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>

namespace platform {
namespace {

// Entries of the system's shared-memory folder whose name holds `tag`.
int SystemObjectsTagged(const std::string& tag) {
  int count = 0;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", error)) {
    if (entry.path().filename().string().find(tag) != std::string::npos) ++count;
  }
  return count;
}

// The mutex lives in a shared-memory object, which this layer removes
// itself when the last handle goes.
TEST(NamedMutexPosixTest, SystemObjectLivesAsLongAsAnyHandle) {
  const std::string name = "xse-test-" + std::to_string(::getpid()) + "-lifetime";
  NamedMutex* first = CreateNamedMutex(name.c_str());
  NamedMutex* second = CreateNamedMutex(name.c_str());
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  // A forked child closing its inherited copy must not take the name away.
  const pid_t pid = ::fork();
  if (pid == 0) {
    CloseNamedMutex(first);
    ::_exit(0);
  }
  int status = -1;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  CloseNamedMutex(first);
  EXPECT_EQ(SystemObjectsTagged(name), 1);
  CloseNamedMutex(second);
  EXPECT_EQ(SystemObjectsTagged(name), 0);
}

}  // namespace
}  // namespace platform
