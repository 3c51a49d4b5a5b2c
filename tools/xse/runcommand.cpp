// xse run: reads files through the reader plug-in exactly as the host
// does: loads the module, asks it which files it can read, hands it the
// list and runs it on its reader thread, showing what it reports.
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "interpreters/xsereader/host/xsereadermodule.h"
#include "platform/framework/wnd.h"
#include "platform/interruptsignal.h"
#include "platform/terminal.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commands.h"
#include "tools/xse/jsontext.h"
#include "tools/xse/progressbar.h"

namespace xsetool {
namespace {

constexpr const char* kRunUsage =
    "usage: xse run [--events] [--no-ext-check] FILE...\n"
    "       xse run [--events] [--duration SECONDS] --connect ADDRESS:PORT\n";

constexpr const char* kRunHelp =
    "Loads the reader plug-in and reads the files with it as the host does:\n"
    "each file is first offered to the plug-in's file check, the ones it\n"
    "accepts are read in order on its reader thread. Ctrl-C stops the run.\n"
    "At the end each file's outcome is listed: read, not read, or not\n"
    "recognised. Exit status 0 when every file was read, 1 when one was not,\n"
    "130 when the run was stopped.\n"
    "\n"
    "  --events        every report of the plug-in as one JSON line on stdout\n"
    "                  (progress, fileAdded, failedReading, then finished)\n"
    "                  instead of the list of outcomes\n"
    "  --no-ext-check  accept files whatever their extension (normally .xse)\n"
    "  --help          show this help\n"
    "\n"
    "With --connect the plug-in reads live data from the XSE server at\n"
    "ADDRESS:PORT (an IPv4 address) instead, until --duration SECONDS have\n"
    "passed or Ctrl-C; then the bytes it decoded are shown. Exit status 0 when\n"
    "the run lasted its time, 1 when the server could not be reached or the\n"
    "exchange with it failed, 130 when stopped by Ctrl-C.\n"
    "\n"
    "The plug-in is $XSE_READER_MODULE, else xsereader.so beside xse, else the\n"
    "one this build made.\n";

// How often the waiting main thread looks for a Ctrl-C.
constexpr uint32_t kInterruptPollMs = 50;
constexpr int kExitStopped = 130;
// How often a live run's main thread dispatches its messages.
constexpr uint32_t kLivePumpMs = 5;

int RunUsageError(const std::string& message) {
  std::fprintf(stderr, "xse run: %s\n%s", message.c_str(), kRunUsage);
  return kExitUsage;
}

// What the host shows of a run. Reports arrive on the reader thread; the
// main thread reads the outcomes only after that thread has ended.
class RunObserver final : public IReaderObserver {
 public:
  RunObserver(bool events, bool showProgress) : events_(events), showProgress_(showProgress) {}

  void OnProgress(const CReader& reader, const CReader::ProgressStat& stat) override {
    if (events_) {
      Emit("{\"event\":\"progress\",\"percent\":" + std::to_string(stat.percent) + ",\"done\":" +
           std::to_string(stat.done) + ",\"total\":" + std::to_string(stat.total) + "}");
    }
    if (bar_ == nullptr) {
      bar_ = std::make_unique<ProgressBar>(stderr, showProgress_, reader.currentFileName,
                                           static_cast<uint64_t>(std::max(stat.total, 0)));
    }
    bar_->Update(static_cast<uint64_t>(std::max(stat.done, 0)));
    done_ = stat.done;
    if (stat.percent >= 100) bar_.reset();
  }

  void OnFileAdded(const CReader& /*reader*/, const std::string& fileName) override {
    if (events_) {
      std::string line = "{\"event\":\"fileAdded\",\"file\":";
      AppendJsonString(line, fileName);
      Emit(line + "}");
    }
    filesAdded_.push_back(fileName);
  }

  void OnFailedReading(const CReader& /*reader*/, const char* /*text*/) override {
    if (events_) Emit("{\"event\":\"failedReading\"}");
  }

  // The bytes the last progress report counted as done.
  int64_t done() const { return done_; }

  // The files reported read, in order.
  const std::vector<std::string>& filesAdded() const { return filesAdded_; }

  static void Emit(const std::string& line) {
    std::fputs(line.c_str(), stdout);
    std::fputc('\n', stdout);
    // A consumer follows the run as it happens.
    std::fflush(stdout);
  }

 private:
  bool events_;
  bool showProgress_;
  std::unique_ptr<ProgressBar> bar_;
  std::vector<std::string> filesAdded_;
  int64_t done_ = 0;
};

enum class Outcome { kRead, kNotRead, kNotRecognised };

struct ServerAddress {
  uint8_t octets[4] = {};
  uint16_t port = 0;
};

// "a.b.c.d:port", each part decimal.
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

// A live run: this thread connects, then keeps dispatching its window
// messages (the server's acknowledge arrives through them) while the reader
// thread reads, until the time is up or Ctrl-C.
int RunLive(CReader& reader, RunObserver& observer, const ServerAddress& server,
            uint64_t durationMs, bool events, const std::string& name) {
  platform::InterruptCatcher interrupt;
  const auto& o = server.octets;
  if (reader.ConnectTo(o[0], o[1], o[2], o[3], static_cast<int16_t>(server.port), 0) == 0) {
    std::fprintf(stderr, "xse run: cannot reach the XSE server at %s\n", name.c_str());
    return kExitFailure;
  }
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(durationMs);
  bool interrupted = false;
  bool stopRequested = false;
  while (!reader.WaitReaderThread(kLivePumpMs)) {
    platform::DispatchThreadMessages();
    if (stopRequested) continue;
    interrupted = interrupt.Caught();
    if (interrupted || (durationMs > 0 && std::chrono::steady_clock::now() >= end)) {
      reader.StopReader();
      stopRequested = true;
    }
  }
  const int32_t result = reader.JoinReaderThread();
  if (events) {
    RunObserver::Emit("{\"event\":\"finished\",\"result\":" + std::to_string(result) +
                      ",\"bytes\":" + std::to_string(observer.done()) + "}");
  } else {
    std::printf("%s: %lld bytes processed\n", name.c_str(),
                static_cast<long long>(observer.done()));
  }
  if (interrupted) return kExitStopped;
  if (result >= 0) {
    std::fprintf(stderr, "xse run: the exchange with the XSE server at %s failed\n", name.c_str());
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace

int RunRunCommand(std::span<const std::string_view> args) {
  bool events = false;
  bool extensionCheck = true;
  std::vector<std::string> files;
  std::string connect;
  uint64_t durationMs = 0;
  for (size_t index = 0; index < args.size(); ++index) {
    const std::string_view arg = args[index];
    if (arg == "--help" || arg == "-h") {
      std::fputs(kRunUsage, stdout);
      std::fputs(kRunHelp, stdout);
      return kExitOk;
    }
    if (arg == "--events") {
      events = true;
    } else if (arg == "--no-ext-check") {
      extensionCheck = false;
    } else if (arg == "--connect" || arg == "--duration") {
      if (index + 1 >= args.size()) return RunUsageError(std::string(arg) + " needs a value");
      const std::string_view value = args[++index];
      if (arg == "--connect") {
        connect = value;
      } else {
        const auto seconds = ParsePositive(value);
        if (!seconds || *seconds > 1e6) {
          return RunUsageError("bad duration '" + std::string(value) + "'");
        }
        durationMs = static_cast<uint64_t>(*seconds * 1000.0);
      }
    } else if (arg.size() > 1 && arg.front() == '-' && arg != "--") {
      return RunUsageError("unknown option '" + std::string(arg) + "'");
    } else if (arg != "--") {
      files.emplace_back(arg);
    }
  }
  std::optional<ServerAddress> server;
  if (!connect.empty()) {
    server = ParseServerAddress(connect);
    if (!server) return RunUsageError("bad server address '" + connect + "' (ADDRESS:PORT)");
    if (!files.empty()) return RunUsageError("--connect reads from the server, not from files");
  } else if (files.empty()) {
    return RunUsageError("no input file");
  }

  XseReaderModule module;
  if (!module.Load(XseReaderModule::DefaultPath())) {
    std::fprintf(stderr, "xse run: cannot load the reader plug-in: %s\n", module.error().c_str());
    return kExitFailure;
  }
  const XseReaderEntryPoints& entry = module.entry();
  std::unique_ptr<CReader, decltype(entry.destroyReader)> reader(entry.createReader(0),
                                                                 entry.destroyReader);
  if (reader == nullptr) {
    std::fprintf(stderr, "xse run: the reader plug-in did not start\n");
    return kExitFailure;
  }

  reader->extensionCheck = extensionCheck ? 1 : 0;
  std::vector<Outcome> outcomes(files.size(), Outcome::kNotRead);
  for (size_t i = 0; i < files.size(); ++i) {
    std::string name = files[i];
    if (reader->CanReadFile(name) != 0) {
      reader->fileList.push_back(files[i]);
    } else {
      outcomes[i] = Outcome::kNotRecognised;
    }
  }

  RunObserver observer(events, platform::IsTerminal(platform::StandardStream::kError));
  reader->SetObserver(&observer);
  if (server) {
    const int status = RunLive(*reader, observer, *server, durationMs, events, connect);
    reader.reset();
    module.Unload();
    return status;
  }
  int32_t result = 0;
  bool stopRequested = false;
  {
    platform::InterruptCatcher interrupt;
    if (reader->StartReaderThread(CReader::ReaderRun::kFileList) == 0) {
      std::fprintf(stderr, "xse run: cannot start the reader thread\n");
      return kExitFailure;
    }
    while (!reader->WaitReaderThread(kInterruptPollMs)) {
      if (!stopRequested && interrupt.Caught()) {
        reader->StopReader();
        stopRequested = true;
      }
    }
    result = reader->JoinReaderThread();
  }

  // Match the reports to the files in order; a name may be given twice.
  size_t next = 0;
  for (const std::string& added : observer.filesAdded()) {
    for (size_t i = next; i < files.size(); ++i) {
      if (outcomes[i] == Outcome::kNotRead && files[i] == added) {
        outcomes[i] = Outcome::kRead;
        next = i + 1;
        break;
      }
    }
  }

  if (events) {
    RunObserver::Emit("{\"event\":\"finished\",\"result\":" + std::to_string(result) +
                      ",\"startTimeSet\":" + std::to_string(reader->startTimeSet) +
                      ",\"startTimeSec\":" + std::to_string(reader->startTimeSec) +
                      ",\"startTimeMs\":" + std::to_string(reader->startTimeMs) + "}");
  } else {
    for (size_t i = 0; i < files.size(); ++i) {
      static constexpr const char* kWords[] = {"read", "not read", "not recognised"};
      std::printf("%s: %s\n", files[i].c_str(), kWords[static_cast<int>(outcomes[i])]);
    }
  }
  reader.reset();
  module.Unload();

  bool allRead = true;
  for (const Outcome outcome : outcomes) allRead = allRead && outcome == Outcome::kRead;
  return FileRunExitStatus(result, stopRequested, allRead);
}

int FileRunExitStatus(int32_t result, bool stopRequested, bool allRead) {
  // The plug-in answers -1 both when stopped and when it could not get
  // memory for a source: only a stop that was asked for is "stopped".
  if (result < 0) return stopRequested ? kExitStopped : kExitFailure;
  return allRead ? kExitOk : kExitFailure;
}

}  // namespace xsetool
