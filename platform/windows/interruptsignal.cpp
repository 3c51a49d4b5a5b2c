#include "platform/interruptsignal.h"

#include <atomic>
#include <csignal>

#include "platform/windows/win32.h"

// Ctrl-C, Ctrl-Break and closing the console window arrive as console
// control events on a thread the system starts; the C signals SIGINT and
// SIGTERM only come from raise() inside the process. Both raise the flag.

namespace platform {
namespace {

// 0 while no request came, else kStop or kEnd.
std::atomic<int> g_caught{0};
std::atomic<bool> g_catching{false};
constexpr int kStop = 1;
constexpr int kEnd = 2;
static_assert(std::atomic<int>::is_always_lock_free);

using SignalHandler = void (*)(int);
SignalHandler g_previousInterrupt = SIG_DFL;
SignalHandler g_previousTerminate = SIG_DFL;

// The runtime puts the default back before it calls this, so a second
// signal is handled the default way.
extern "C" void OnSignal(int signal) {
  int none = 0;
  g_caught.compare_exchange_strong(none, signal == SIGTERM ? kEnd : kStop);
}

// How long a closing console waits for the program to wind down; the
// system ends the process after about five seconds in any case.
constexpr int kCloseGraceMs = 4500;
constexpr int kCloseStepMs = 50;

BOOL WINAPI OnConsoleEvent(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT && event != CTRL_CLOSE_EVENT) {
    return FALSE;
  }
  // A second request goes on to the default handling, which ends the
  // process; so does a Ctrl-C once the runtime's SIGINT handling is default.
  int none = 0;
  if (!g_caught.compare_exchange_strong(none, event == CTRL_CLOSE_EVENT ? kEnd : kStop)) {
    return FALSE;
  }
  std::signal(SIGINT, SIG_DFL);
  if (event == CTRL_CLOSE_EVENT) {
    // The process ends as soon as this returns: give the program the time
    // it has to stop in order.
    for (int waited = 0; waited < kCloseGraceMs && g_catching.load(); waited += kCloseStepMs) {
      ::Sleep(kCloseStepMs);
    }
  }
  return TRUE;
}

}  // namespace

InterruptCatcher::InterruptCatcher() : outermost_(!g_catching.exchange(true)) {
  if (!outermost_) return;
  g_caught.store(0);
  g_previousInterrupt = std::signal(SIGINT, OnSignal);
  g_previousTerminate = std::signal(SIGTERM, OnSignal);
  // Added last, so it is asked before the runtime's own console handler.
  ::SetConsoleCtrlHandler(OnConsoleEvent, TRUE);
}

InterruptCatcher::~InterruptCatcher() {
  if (!outermost_) return;
  ::SetConsoleCtrlHandler(OnConsoleEvent, FALSE);
  g_catching.store(false);
  std::signal(SIGINT, g_previousInterrupt == SIG_ERR ? SIG_DFL : g_previousInterrupt);
  std::signal(SIGTERM, g_previousTerminate == SIG_ERR ? SIG_DFL : g_previousTerminate);
}

bool InterruptCatcher::Caught() const { return g_caught.load() != 0; }

bool InterruptCatcher::Terminated() const { return g_caught.load() == kEnd; }

}  // namespace platform
