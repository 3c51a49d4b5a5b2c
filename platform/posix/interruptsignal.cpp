#include "platform/interruptsignal.h"

#include <signal.h>

#include <atomic>

namespace platform {
namespace {

// Lock-free, so storing to it is safe inside a signal handler, whichever
// thread the signal lands on.
std::atomic<int> g_caught{0};  // the signal caught; 0 while none
std::atomic<bool> g_installed{false};
static_assert(std::atomic<int>::is_always_lock_free);

struct sigaction g_previousInterrupt {};
struct sigaction g_previousTerminate {};

extern "C" void OnInterrupt(int signal) {
  int none = 0;
  g_caught.compare_exchange_strong(none, signal);
}

}  // namespace

InterruptCatcher::InterruptCatcher() : outermost_(!g_installed.exchange(true)) {
  if (!outermost_) return;
  g_caught.store(0);
  struct sigaction action {};
  action.sa_handler = OnInterrupt;
  sigemptyset(&action.sa_mask);
  // Restart interrupted system calls; one-shot, so a second request is
  // handled the default way.
  action.sa_flags = static_cast<int>(SA_RESTART | SA_RESETHAND);
  ::sigaction(SIGINT, &action, &g_previousInterrupt);
  ::sigaction(SIGTERM, &action, &g_previousTerminate);
}

InterruptCatcher::~InterruptCatcher() {
  if (!outermost_) return;
  ::sigaction(SIGINT, &g_previousInterrupt, nullptr);
  ::sigaction(SIGTERM, &g_previousTerminate, nullptr);
  g_installed.store(false);
}

bool InterruptCatcher::Caught() const { return g_caught.load() != 0; }

bool InterruptCatcher::Terminated() const { return g_caught.load() == SIGTERM; }

}  // namespace platform
