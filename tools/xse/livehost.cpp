#include "tools/xse/livehost.h"

#include <cstdio>

#include "platform/framework/wnd.h"
#include "platform/interruptsignal.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commands.h"

namespace xsetool {

namespace {

// How often the main thread dispatches its messages and looks at the clock
// and for a Ctrl-C.
constexpr uint32_t kPumpMs = 5;
constexpr int kExitStopped = 130;

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
  ServerAddress address;
  for (int i = 0; i < 5; ++i) {
    const char separator = i < 3 ? '.' : ':';
    const size_t end = i < 4 ? text.find(separator) : text.size();
    if (end == std::string_view::npos) return std::nullopt;
    const auto value = ParseUnsigned(text.substr(0, end));
    if (!value || *value > (i < 4 ? 255u : 65535u)) return std::nullopt;
    if (i < 4) {
      address.octets[i] = static_cast<uint8_t>(*value);
      text.remove_prefix(end + 1);
    } else {
      address.port = static_cast<uint16_t>(*value);
    }
  }
  return address;
}

void LiveTap::Noted() {
  lastRecordNs_.store(NowNs(), std::memory_order_relaxed);
  if (enough_ && enough_()) enough_reached_.store(true, std::memory_order_relaxed);
}

int RunLiveSession(CReader& reader, const ServerAddress& server, const std::string& name,
                   const LiveLimits& limits, const LiveTap& tap, const LiveReports& reports,
                   int32_t& result) {
  result = 0;
  platform::InterruptCatcher interrupt;
  const auto& o = server.octets;
  if (reader.ConnectTo(o[0], o[1], o[2], o[3], static_cast<int16_t>(server.port), 0) == 0) {
    return Fail("cannot reach the XSE server at " + name);
  }
  const int64_t startNs = NowNs();
  const auto elapsedMs = [](int64_t sinceNs) {
    return static_cast<uint64_t>((NowNs() - sinceNs) / 1000000);
  };
  bool interrupted = false;
  bool idle = false;
  bool stopRequested = false;
  while (!reader.WaitReaderThread(kPumpMs)) {
    platform::DispatchThreadMessages();
    if (stopRequested) continue;
    interrupted = interrupt.Caught();
    const int64_t last = tap.lastRecordNs();
    idle = limits.idleExitMs > 0 && elapsedMs(last > 0 ? last : startNs) >= limits.idleExitMs;
    const bool timeUp = limits.durationMs > 0 && elapsedMs(startNs) >= limits.durationMs;
    if (interrupted || idle || timeUp || tap.enough()) {
      reader.StopReader();
      stopRequested = true;
    }
  }
  result = reader.JoinReaderThread();
  if (interrupted) return kExitStopped;
  if (result > 0) {
    // Ended by itself: by the server, or by a failure.
    if (reports.added) return kExitOk;
    if (reports.bytes == 0 && tap.lastRecordNs() == 0) {
      return Fail("the exchange with the XSE server at " + name + " failed before any data");
    }
    return Fail("the XSE server at " + name + " broke off the data connection");
  }
  if (tap.lastRecordNs() == 0) {
    return Fail(std::string("no data from the XSE server at ") + name +
                (idle ? " before the idle time ran out" : " before the run ended"));
  }
  return kExitOk;
}

}  // namespace xsetool
