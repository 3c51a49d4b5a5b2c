#include "platform/namedmutex.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <thread>
#include <utility>

namespace platform {
namespace {

// Names unique to this process and test, so parallel test runs never meet.
std::string UniqueName(const std::string& what) {
  static int counter = 0;  // only the test thread makes names
  return "xse-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++) + "-" + what;
}

// Entries of the system's shared-memory folder whose name holds `tag`.
int SystemObjectsTagged(const std::string& tag) {
  int count = 0;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", error)) {
    if (entry.path().filename().string().find(tag) != std::string::npos) ++count;
  }
  return count;
}

// Runs `child` in a forked process and returns its exit status (-1 when it
// did not exit normally). The child must not start threads.
template <typename Child>
int RunInChild(Child child) {
  const pid_t pid = ::fork();
  if (pid == 0) ::_exit(child());
  int status = 0;
  if (pid < 0 || ::waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

TEST(NamedMutexTest, NameRulesAndNullHandle) {
  const std::string prefix = UniqueName("");
  const std::pair<std::string, bool> kNames[] = {
      {"", false},
      {"a\\b", false},
      {std::string(260, 'n'), false},
      {"/tmp/" + prefix + "/with blank: and colon.log", true},
      {prefix + std::string(259 - prefix.size(), 'n'), true}};
  EXPECT_EQ(CreateNamedMutex(nullptr), nullptr);
  for (const auto& [name, accepted] : kNames) {
    NamedMutex* mutex = CreateNamedMutex(name.c_str());
    EXPECT_EQ(mutex != nullptr, accepted) << name;
    CloseNamedMutex(mutex);
  }
  EXPECT_EQ(WaitNamedMutex(nullptr, 10), MutexWait::kFailed);
  EXPECT_FALSE(ReleaseNamedMutex(nullptr));
}

// Other threads reach the mutex through their own handles of the name, as
// other modules would; how long a wait lasts is pinned by the trace lock.
TEST(NamedMutexTest, OwnerMayTakeItAgainAndOthersWaitUntilEveryTakeIsReleased) {
  const std::string name = UniqueName("recursive");
  NamedMutex* mutex = CreateNamedMutex(name.c_str());
  NamedMutex* other = CreateNamedMutex(name.c_str());
  NamedMutex* unrelated = CreateNamedMutex(UniqueName("unrelated").c_str());
  ASSERT_NE(mutex, nullptr);
  ASSERT_NE(other, nullptr);
  ASSERT_EQ(WaitNamedMutex(mutex, 0), MutexWait::kAcquired);
  ASSERT_EQ(WaitNamedMutex(mutex, 0), MutexWait::kAcquired);
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  std::thread([&] {
    EXPECT_EQ(WaitNamedMutex(other, 20), MutexWait::kTimedOut);
    EXPECT_EQ(WaitNamedMutex(unrelated, 0), MutexWait::kAcquired) << "other names, other mutexes";
    EXPECT_TRUE(ReleaseNamedMutex(unrelated));
  }).join();
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  std::thread([other] {
    EXPECT_EQ(WaitNamedMutex(other, 0), MutexWait::kAcquired);
    EXPECT_TRUE(ReleaseNamedMutex(other));
  }).join();
  for (NamedMutex* handle : {unrelated, other, mutex}) CloseNamedMutex(handle);
}

TEST(NamedMutexTest, ExcludesOtherProcessesAndTellsWhenItsOwnerEndedHoldingIt) {
  const std::string name = UniqueName("processes");
  NamedMutex* mutex = CreateNamedMutex(name.c_str());
  ASSERT_NE(mutex, nullptr);
  // What a child process's own handle of the name gets from a first try.
  const auto childTry = [&name] {
    return RunInChild(
        [&name] { return static_cast<int>(WaitNamedMutex(CreateNamedMutex(name.c_str()), 0)); });
  };
  ASSERT_EQ(WaitNamedMutex(mutex, 0), MutexWait::kAcquired);
  EXPECT_EQ(childTry(), static_cast<int>(MutexWait::kTimedOut));
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  // This child takes it and ends without releasing it.
  EXPECT_EQ(childTry(), static_cast<int>(MutexWait::kAcquired));
  EXPECT_EQ(WaitNamedMutex(mutex, 100), MutexWait::kAbandoned);
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  EXPECT_EQ(WaitNamedMutex(mutex, 100), MutexWait::kAcquired) << "usable again after the repair";
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  CloseNamedMutex(mutex);
}

TEST(NamedMutexTest, SystemObjectLivesAsLongAsAnyHandle) {
  const std::string name = UniqueName("lifetime");
  NamedMutex* first = CreateNamedMutex(name.c_str());
  NamedMutex* second = CreateNamedMutex(name.c_str());
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  // A forked child closing its inherited copy must not take the name away.
  EXPECT_EQ(RunInChild([&] {
              CloseNamedMutex(first);
              return 0;
            }),
            0);
  CloseNamedMutex(first);
  EXPECT_EQ(SystemObjectsTagged(name), 1);
  CloseNamedMutex(second);
  EXPECT_EQ(SystemObjectsTagged(name), 0);
}

}  // namespace
}  // namespace platform
