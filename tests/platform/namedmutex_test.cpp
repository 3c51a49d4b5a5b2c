#include "platform/namedmutex.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <future>
#include <string>
#include <thread>
#include <utility>

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

// Names unique to this process and test, so parallel test runs never meet.
std::string UniqueName(const std::string& what) {
  static std::atomic<int> counter{0};
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
      {"D:\\t\\x.log", false},
      {std::string(260, 'n'), false},
      {prefix + "quortrace.log", true},
      {"/tmp/" + prefix + "/trace.log", true},
      {prefix + "with blank: and colon", true},
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

TEST(NamedMutexTest, OwnerMayTakeItAgainAndMustReleaseEachTake) {
  const std::string name = UniqueName("recursive");
  NamedMutex* mutex = CreateNamedMutex(name.c_str());
  ASSERT_NE(mutex, nullptr);
  ASSERT_EQ(WaitNamedMutex(mutex, 0), MutexWait::kAcquired);
  ASSERT_EQ(WaitNamedMutex(mutex, 0), MutexWait::kAcquired);
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  {
    NamedMutex* other = CreateNamedMutex(name.c_str());
    std::thread([other] { EXPECT_EQ(WaitNamedMutex(other, 0), MutexWait::kTimedOut); }).join();
    CloseNamedMutex(other);
  }
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  std::thread([mutex] {
    EXPECT_EQ(WaitNamedMutex(mutex, 0), MutexWait::kAcquired);
    EXPECT_TRUE(ReleaseNamedMutex(mutex));
  }).join();
  CloseNamedMutex(mutex);
}

TEST(NamedMutexTest, WaitTimesOutWhileAnotherThreadHoldsIt) {
  const std::string name = UniqueName("timeout");
  NamedMutex* holderHandle = CreateNamedMutex(name.c_str());
  NamedMutex* waiterHandle = CreateNamedMutex(name.c_str());
  NamedMutex* unrelated = CreateNamedMutex(UniqueName("unrelated").c_str());
  ASSERT_NE(holderHandle, nullptr);
  ASSERT_NE(waiterHandle, nullptr);
  std::promise<MutexWait> taken;
  std::promise<void> release;
  std::thread holder([&] {
    taken.set_value(WaitNamedMutex(holderHandle, 0));
    release.get_future().wait();
    ReleaseNamedMutex(holderHandle);
  });
  ASSERT_EQ(taken.get_future().get(), MutexWait::kAcquired);
  EXPECT_EQ(WaitNamedMutex(waiterHandle, 0), MutexWait::kTimedOut);
  const auto start = Clock::now();
  EXPECT_EQ(WaitNamedMutex(waiterHandle, 60), MutexWait::kTimedOut);
  const auto waited = Clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(55));
  EXPECT_LT(waited, std::chrono::milliseconds(1000));
  EXPECT_EQ(WaitNamedMutex(unrelated, 0), MutexWait::kAcquired) << "other names are other mutexes";
  EXPECT_TRUE(ReleaseNamedMutex(unrelated));
  release.set_value();
  holder.join();
  EXPECT_EQ(WaitNamedMutex(waiterHandle, 60), MutexWait::kAcquired);
  EXPECT_TRUE(ReleaseNamedMutex(waiterHandle));
  for (NamedMutex* handle : {unrelated, waiterHandle, holderHandle}) CloseNamedMutex(handle);
}

TEST(NamedMutexTest, OwnerThatEndsHoldingItLeavesItAbandoned) {
  const std::string name = UniqueName("abandoned");
  NamedMutex* mutex = CreateNamedMutex(name.c_str());
  ASSERT_NE(mutex, nullptr);
  const int childStatus = RunInChild([&] {
    NamedMutex* own = CreateNamedMutex(name.c_str());
    return own != nullptr && WaitNamedMutex(own, 0) == MutexWait::kAcquired ? 0 : 1;
  });
  ASSERT_EQ(childStatus, 0);

  EXPECT_EQ(WaitNamedMutex(mutex, 100), MutexWait::kAbandoned);
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  EXPECT_EQ(WaitNamedMutex(mutex, 100), MutexWait::kAcquired) << "usable again after the repair";
  EXPECT_TRUE(ReleaseNamedMutex(mutex));
  CloseNamedMutex(mutex);
}

TEST(NamedMutexTest, ExcludesThreadsOfAnotherProcess) {
  const std::string name = UniqueName("processes");
  NamedMutex* mutex = CreateNamedMutex(name.c_str());
  ASSERT_NE(mutex, nullptr);
  void* memory =
      ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  volatile int* counter = static_cast<int*>(memory);
  *counter = 0;
  constexpr int kRounds = 300;
  // Read, yield, write: without the mutex the two processes lose increments.
  auto increment = [counter](NamedMutex* handle) {
    for (int i = 0; i < kRounds; ++i) {
      if (WaitNamedMutex(handle, 2000) != MutexWait::kAcquired) return false;
      const int seen = *counter;
      ::sched_yield();
      *counter = seen + 1;
      if (!ReleaseNamedMutex(handle)) return false;
    }
    return true;
  };

  const pid_t pid = ::fork();
  if (pid == 0) {
    NamedMutex* own = CreateNamedMutex(name.c_str());
    const bool ok = own != nullptr && increment(own);
    CloseNamedMutex(own);
    ::_exit(ok ? 0 : 1);
  }
  ASSERT_GT(pid, 0);
  EXPECT_TRUE(increment(mutex));
  int status = 0;
  ASSERT_EQ(::waitpid(pid, &status, 0), pid);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  EXPECT_EQ(*counter, 2 * kRounds);
  ::munmap(memory, sizeof(int));
  CloseNamedMutex(mutex);
}

TEST(NamedMutexTest, SystemObjectLivesAsLongAsAnyHandle) {
  const std::string name = UniqueName("lifetime");
  NamedMutex* first = CreateNamedMutex(name.c_str());
  NamedMutex* second = CreateNamedMutex(name.c_str());
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(SystemObjectsTagged(name), 1);

  // A forked child closing its inherited copy must not take the name away.
  EXPECT_EQ(RunInChild([&] {
              CloseNamedMutex(first);
              return 0;
            }),
            0);
  EXPECT_EQ(SystemObjectsTagged(name), 1);

  CloseNamedMutex(first);
  EXPECT_EQ(SystemObjectsTagged(name), 1);
  CloseNamedMutex(second);
  EXPECT_EQ(SystemObjectsTagged(name), 0);

  // A name used again after the last close starts out free.
  NamedMutex* again = CreateNamedMutex(name.c_str());
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(WaitNamedMutex(again, 0), MutexWait::kAcquired);
  EXPECT_TRUE(ReleaseNamedMutex(again));
  CloseNamedMutex(again);
}

}  // namespace
}  // namespace platform
