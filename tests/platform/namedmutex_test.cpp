#include "platform/namedmutex.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>

#include "platform/environment.h"
#include "platform/modulepath.h"
#include "platform/processexit.h"
#include "platform/processinfo.h"
#include "support/childprocess.h"

namespace platform {
namespace {

constexpr const char* kChildVariable = "XSE_TEST_NAMED_MUTEX_CHILD";

// The child role of the cross-process test: started as this test program
// with the mutex's name in kChildVariable, it takes one try at the mutex
// before any test runs and ends without releasing it. Its exit status is
// the MutexWait it got.
const bool g_childRole = [] {
  const std::optional<std::string> name = GetEnvironmentVariable(kChildVariable);
  if (!name) return false;
  ExitProcess(static_cast<int>(WaitNamedMutex(CreateNamedMutex(name->c_str()), 0)));
}();

// Names unique to this process and test, so parallel test runs never meet.
std::string UniqueName(const std::string& what) {
  static int counter = 0;  // only the test thread makes names
  return "xse-test-" + std::to_string(CurrentProcessId()) + "-" + std::to_string(counter++) + "-" +
         what;
}

TEST(NamedMutexTest, NameRulesAndNullHandle) {
  const std::string prefix = UniqueName("");
  const std::pair<std::string, bool> kNames[] = {
      {"", false},
      {"a\\b", false},
      {std::string(260, 'n'), false},
      {"/tmp/" + prefix + "/with blank: and colon.log", true},
      {"C:/" + prefix + "/\u00DCberfahrt 3/trace.log", true},
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
  ASSERT_FALSE(g_childRole);
  const std::string name = UniqueName("processes");
  NamedMutex* mutex = CreateNamedMutex(name.c_str());
  ASSERT_NE(mutex, nullptr);
  // What another process's own handle of the name gets from a first try.
  const auto childTry = [&name] {
    xsetest::ChildOptions options;
    options.environment = {{kChildVariable, name}};
    return xsetest::RunChild(ExecutablePath(), {}, options).status;
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

}  // namespace
}  // namespace platform
