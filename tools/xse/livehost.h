// Live runs of the reader plug-in for `xse run --connect` and `xse dump
// --connect`: the tool plays the host. It calls ConnectTo on this thread,
// keeps dispatching this thread's window messages (the server's acknowledge
// arrives through them) while the plug-in's reader thread reads, and ends
// the run on Ctrl-C, after a given time, after a time without new records,
// or when the caller has seen enough.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/hostreader/creader.h"
#include "xsereader/recordkind.h"

namespace xsetool {

inline constexpr uint32_t kDefaultDeadAfterS = 30;

struct ServerAddress {
  std::string host;        // a name, an IPv4 or an IPv6 literal
  uint8_t octets[4] = {};  // once resolved
  uint16_t port = 0;
};

// "HOST:PORT" or "[IPv6]:PORT", the port decimal; nothing when malformed.
// The host is not looked up here.
std::optional<ServerAddress> ParseServerAddress(std::string_view text);
// Looks the host up, once, and takes its first IPv4 address (the plug-in's
// ConnectTo takes IPv4 only). False with the reason in `error` when it
// stands for none.
bool ResolveServerAddress(ServerAddress& address, std::string& error);

// Passes every record on to `next` (may be null) on the reader thread and
// notes when the last one came, for the main thread's idle check.
// `enough`, when given, is asked after each record whether to stop;
// `passEnded`, when given, runs after each decoding pass (see OnPass).
class LiveTap final : public quor::RecordVisitor<LiveTap> {
 public:
  LiveTap(quor::ISurveyTarget* next, std::function<bool()> enough,
          std::function<void()> passEnded = nullptr)
      : next_(next), enough_(std::move(enough)), passEnded_(std::move(passEnded)) {}

  // For the plug-in's pass callback; `context` is the tap.
  static void OnPass(void* context);

  // Steady-clock nanoseconds of the last record; 0 before the first.
  int64_t lastRecordNs() const { return lastRecordNs_.load(std::memory_order_relaxed); }
  bool enough() const { return enough_reached_.load(std::memory_order_relaxed); }

 private:
  friend RecordVisitor;
  template <typename Record>
  void OnRecord(quor::RecordKind /*kind*/, const Record& record) {
    if (next_ != nullptr) quor::Deliver(*next_, record);
    Noted();
  }
  void Noted();

  quor::ISurveyTarget* next_;
  std::function<bool()> enough_;
  std::function<void()> passEnded_;
  std::atomic<int64_t> lastRecordNs_{0};
  std::atomic<bool> enough_reached_{false};
};

// What the host was told, filled on the reader thread and read after it
// has ended.
struct LiveReports {
  bool added = false;   // FileAdded: the server ended the data after some
  bool failed = false;  // FailedReading: the exchange failed
  int64_t bytes = 0;    // the bytes the last progress report counted
  std::string reason;   // FailedReading's text, when it gave one
};

// An observer that only keeps the reports.
class LiveReportObserver final : public IReaderObserver {
 public:
  void OnProgress(const CReader&, const CReader::ProgressStat& stat) override {
    reports_.bytes = stat.done;
  }
  void OnFileAdded(const CReader&, const std::string&) override { reports_.added = true; }
  void OnFailedReading(const CReader&, const char* text) override {
    reports_.failed = true;
    if (text != nullptr) reports_.reason = text;
  }
  const LiveReports& reports() const { return reports_; }

 private:
  LiveReports reports_;
};

struct LiveLimits {
  uint64_t durationMs = 0;  // 0: no limit
  uint64_t idleExitMs = 0;  // 0: no limit; counted from the start as well
  // A server that answers nothing, not even the system's probes, for this
  // long is gone: the run ends with exit 1.
  uint32_t deadAfterS = kDefaultDeadAfterS;
};

// --dead-after's value: whole seconds, at least 1. False when it is none.
bool ParseDeadAfter(std::string_view text, uint32_t& seconds);
// The help lines of --dead-after, the same for every live command; they
// end its help.
inline constexpr const char* kDeadAfterHelp =
    "\n"
    "  --dead-after SECONDS  end with exit 1 when the server has answered\n"
    "                  nothing, not even the system's probes, for SECONDS\n"
    "                  (default 30): a vanished host sends no end. A silent\n"
    "                  server that is still there is left alone (--idle-exit)\n";

// Runs the live session to its end. Returns the exit status, and writes
// `xse: REASON` on stderr when it is not 0: 0 when data arrived and the
// exchange held (ended by the server, by a limit or by `tap` having
// enough), 1 when the server could not be reached, the exchange failed or
// no frame was decoded, 130 on Ctrl-C and 143 on a termination request,
// in every state of the run. A run whose reader thread does not end within
// a fraction of a second of the request (its output is blocked) is ended
// at once with that status, dropping the records not yet written. `result`
// is the run's result (RunReader's: 1 ended by itself, -1 stopped; 0 when
// it never ran).
int RunLiveSession(CReader& reader, const ServerAddress& server, const std::string& name,
                   const LiveLimits& limits, const LiveTap& tap, const LiveReports& reports,
                   int32_t& result);

// The exit status of a stop request: 143 when it asked the program to end
// (SIGTERM), else 130.
int StoppedExitStatus(bool terminated);

}  // namespace xsetool
