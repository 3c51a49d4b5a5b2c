#include "tools/xse/livehost.h"

#include <algorithm>
#include <cstdio>
#include <thread>

#include "platform/framework/wnd.h"
#include "platform/interruptsignal.h"
#include "platform/processexit.h"
#include "platform/sleep.h"
#include "platform/tcpsocket.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commands.h"

namespace xsetool {

namespace {

// How often the main thread dispatches its messages and looks at the clock
// and for a Ctrl-C.
constexpr uint32_t kPumpMs = 5;
constexpr int kExitStopped = 130;
constexpr int kExitTerminated = 143;
// How long a stopped reader thread may take to end before the process ends
// without it; with the pump's steps, well within 200 ms of the request.
constexpr uint64_t kStopGraceMs = 150;

int64_t NowNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
             std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

int Fail(const std::string& reason) {
  std::fprintf(stderr, "xse: %s\n", reason.c_str());
  return kExitFailure;
}

}  // namespace

std::optional<ServerAddress> ParseServerAddress(std::string_view text) {
  std::string_view host;
  std::string_view port;
  if (text.starts_with('[')) {
    const size_t close = text.find(']');
    if (close == std::string_view::npos || text.substr(close + 1, 1) != ":") return std::nullopt;
    host = text.substr(1, close - 1);
    port = text.substr(close + 2);
  } else {
    const size_t colon = text.rfind(':');
    if (colon == std::string_view::npos) return std::nullopt;
    host = text.substr(0, colon);
    port = text.substr(colon + 1);
    // An IPv6 literal needs its brackets, or its last group reads as the port.
    if (host.find(':') != std::string_view::npos) return std::nullopt;
  }
  const auto number = ParseUnsigned(port);
  if (host.empty() || !number || *number > 65535) return std::nullopt;
  ServerAddress address;
  address.host = host;
  address.port = static_cast<uint16_t>(*number);
  return address;
}

bool ResolveServerAddress(ServerAddress& address, std::string& error) {
  platform::HostAddresses found;
  if (!platform::ResolveHost(address.host, found, error)) return false;
  if (found.ipv4.empty()) {
    error = address.host + " has IPv6 addresses only, and the reader connects over IPv4";
    return false;
  }
  std::copy(found.ipv4.front().begin(), found.ipv4.front().end(), address.octets);
  return true;
}

bool ParseDeadAfter(std::string_view text, uint32_t& seconds) {
  // A day at most: the system takes the time in milliseconds in 32 bits.
  constexpr uint64_t kMostSeconds = 86400;
  const auto number = ParseUnsigned(text);
  if (!number || *number == 0 || *number > kMostSeconds) return false;
  seconds = static_cast<uint32_t>(*number);
  return true;
}

void LiveTap::Noted() {
  lastRecordNs_.store(NowNs(), std::memory_order_relaxed);
  if (enough_ && enough_()) enough_reached_.store(true, std::memory_order_relaxed);
}

void LiveTap::OnPass(void* context) {
  auto* tap = static_cast<LiveTap*>(context);
  if (tap->passEnded_) tap->passEnded_();
}

int StoppedExitStatus(bool terminated) { return terminated ? kExitTerminated : kExitStopped; }

namespace {

// ConnectTo holds the main thread while it connects: this watches for a
// stop meanwhile and passes it on. It keeps passing it on until the connect
// is over, so a stop that lands before ConnectTo raised the running flag
// is not lost.
class ConnectWatch {
 public:
  ConnectWatch(CReader& reader, const platform::InterruptCatcher& interrupt, uint64_t idleExitMs)
      : thread_([this, &reader, &interrupt, idleExitMs] {
          const int64_t startNs = NowNs();
          while (!over_.load()) {
            const bool idle =
                idleExitMs > 0 && static_cast<uint64_t>(NowNs() - startNs) >= idleExitMs * 1000000;
            if (interrupt.Caught() || idle) {
              reader.StopReader();
              idle_.store(idle);
            }
            platform::SleepMilliseconds(kPumpMs);
          }
        }) {}
  ConnectWatch(const ConnectWatch&) = delete;
  ConnectWatch& operator=(const ConnectWatch&) = delete;
  ~ConnectWatch() { End(); }

  void End() {
    over_.store(true);
    if (thread_.joinable()) thread_.join();
  }
  bool idle() const { return idle_.load(); }

 private:
  std::atomic<bool> over_{false};
  std::atomic<bool> idle_{false};
  std::thread thread_;
};

std::string WithReason(std::string text, const LiveReports& reports) {
  if (!reports.reason.empty()) text += ": " + reports.reason;
  return text;
}

// The exit status of a run that ended without a stop request.
int Outcome(int32_t result, bool idle, const LiveTap& tap, const LiveReports& reports,
            const std::string& name) {
  const bool records = tap.lastRecordNs() != 0;
  if (result > 0) {
    // Ended by itself: by the server, or by a failure.
    if (reports.added && records) return kExitOk;
    if (!records) {
      return Fail(WithReason(
          "the exchange with the XSE server at " + name + " failed before any data", reports));
    }
    return Fail(
        WithReason("the XSE server at " + name + " broke off the data connection", reports));
  }
  if (!records) {
    return Fail(std::string("no data from the XSE server at ") + name +
                (idle ? " before the idle time ran out" : " before the run ended"));
  }
  return kExitOk;
}

}  // namespace

int RunLiveSession(CReader& reader, const ServerAddress& server, const std::string& name,
                   const LiveLimits& limits, const LiveTap& tap, const LiveReports& reports,
                   int32_t& result) {
  result = 0;
  ServerAddress resolved = server;
  std::string error;
  if (!ResolveServerAddress(resolved, error)) {
    return Fail("cannot reach the XSE server at " + name + ": " + error);
  }
  platform::InterruptCatcher interrupt;
  const auto stopped = [&interrupt] { return StoppedExitStatus(interrupt.Terminated()); };
  const auto& o = resolved.octets;
  ConnectWatch watch(reader, interrupt, limits.idleExitMs);
  const int32_t connected =
      reader.ConnectTo(o[0], o[1], o[2], o[3], static_cast<int16_t>(server.port), 0);
  watch.End();
  if (connected == 0) {
    if (interrupt.Caught()) return stopped();
    if (watch.idle()) return Outcome(-1, true, tap, reports, name);
    return Fail(WithReason("cannot reach the XSE server at " + name, reports));
  }
  const int64_t startNs = NowNs();
  const auto elapsedMs = [](int64_t sinceNs) {
    return static_cast<uint64_t>((NowNs() - sinceNs) / 1000000);
  };
  bool idle = watch.idle();
  int64_t stopNs = 0;
  while (!reader.WaitReaderThread(kPumpMs)) {
    platform::DispatchThreadMessages();
    if (stopNs != 0) {
      // A reader thread stuck in a write to blocked output cannot end: the
      // request is honoured anyway, dropping what it has not written.
      if (interrupt.Caught() && elapsedMs(stopNs) >= kStopGraceMs) {
        platform::ExitProcessNow(stopped());
      }
      continue;
    }
    const int64_t last = tap.lastRecordNs();
    idle = idle ||
           (limits.idleExitMs > 0 && elapsedMs(last > 0 ? last : startNs) >= limits.idleExitMs);
    const bool timeUp = limits.durationMs > 0 && elapsedMs(startNs) >= limits.durationMs;
    if (interrupt.Caught() || idle || timeUp || tap.enough()) {
      reader.StopReader();
      stopNs = NowNs();
    }
  }
  result = reader.JoinReaderThread();
  if (interrupt.Caught()) return stopped();
  return Outcome(result, idle, tap, reports, name);
}

}  // namespace xsetool
