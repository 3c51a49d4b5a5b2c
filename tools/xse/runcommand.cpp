// xse run: reads files through the reader plug-in exactly as the host
// does: loads the module, asks it which files it can read, hands it the
// list and runs it on its reader thread, showing what it reports.
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "interpreters/xsereader/host/xsereadermodule.h"
#include "platform/file.h"
#include "platform/interruptsignal.h"
#include "platform/terminal.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/jsontext.h"
#include "tools/xse/livehost.h"
#include "tools/xse/pluginreader.h"
#include "tools/xse/progressbar.h"

namespace xsetool {
namespace {

constexpr const char* kRunUsage =
    "usage: xse run [--events] [--no-ext-check] FILE...\n"
    "       xse run [--events] [--duration SECONDS] [--idle-exit SECONDS]\n"
    "               [--dead-after SECONDS] --connect ADDRESS:PORT\n";

constexpr const char* kRunHelp =
    "Loads the reader plug-in and reads the files with it as the host does:\n"
    "each file is first offered to the plug-in's file check, the ones it\n"
    "accepts are read in order on its reader thread. Ctrl-C stops the run.\n"
    "At the end each file's outcome is listed: read, not read, or not\n"
    "recognised. Exit status 0 when every file was read, 1 when one was not,\n"
    "130 when the run was stopped.\n"
    "\n"
    "  --events        every report of the plug-in as one JSON line on stdout\n"
    "                  (progress, fileFailed, fileAdded, failedReading, then\n"
    "                  finished, whose result is the exit status) instead of\n"
    "                  the list of outcomes\n"
    "  --no-ext-check  accept files whatever their extension (normally .xse)\n"
    "  --help          show this help\n"
    "\n"
    "With --connect the plug-in reads live data from the XSE server at\n"
    "ADDRESS:PORT (a host name, an IPv4 address or [IPv6]:PORT, looked up once;\n"
    "the plug-in connects to its first IPv4 address) instead, until the server\n"
    "ends the data, --duration SECONDS have passed, --idle-exit SECONDS went\n"
    "by without a new record (counted from the start as well), or Ctrl-C; then\n"
    "the bytes and frames it decoded are shown (with --events, as \"bytes\" and\n"
    "\"frames\" of the finished event, counted in 64 bits). Exit status 0 when\n"
    "frames were decoded and the exchange held, 1 with the reason on stderr\n"
    "when the server could not be reached, the exchange failed or no frame\n"
    "came, 130 when stopped by Ctrl-C, 143 by SIGTERM.\n"
    "\n"
    "The plug-in is $XSE_READER_MODULE, else xsereader.so beside xse, else the\n"
    "one this build made.\n";

// How often the waiting main thread looks for a Ctrl-C.
constexpr uint32_t kInterruptPollMs = 50;
constexpr int kExitStopped = 130;

// What the host shows of a run. Reports arrive on the reader thread; the
// main thread reads the outcomes only after that thread has ended.
class RunObserver final : public IReaderObserver {
 public:
  RunObserver(bool events, bool showProgress) : events_(events), showProgress_(showProgress) {}

  // The name a live run's files go by: the plug-in reports them unnamed.
  void SetLiveName(std::string name) { liveName_ = std::move(name); }

  void OnProgress(const CReader& reader, const CReader::ProgressStat& stat) override {
    if (events_) {
      std::string line;
      JsonBuilder(line)
          .BeginObject()
          .String("event", "progress")
          .Number("percent", stat.percent)
          .Number("done", stat.done)
          .Number("total", stat.total)
          .EndObject();
      Emit(line);
    }
    if (bar_ == nullptr) {
      bar_ = std::make_unique<ProgressBar>(stderr, showProgress_, reader.currentFileName,
                                           static_cast<uint64_t>(std::max(stat.total, 0)));
    }
    bar_->Update(static_cast<uint64_t>(std::max(stat.done, 0)));
    done_ = stat.done;
    reports_.bytes = stat.done;
    if (stat.percent >= 100) bar_.reset();
  }

  void OnFileAdded(const CReader& /*reader*/, const std::string& reported) override {
    const std::string& fileName = reported.empty() ? liveName_ : reported;
    if (events_) {
      std::string line;
      JsonBuilder(line)
          .BeginObject()
          .String("event", "fileAdded")
          .String("file", fileName)
          .EndObject();
      Emit(line);
    }
    filesAdded_.push_back(fileName);
    reports_.added = true;
  }

  void OnFailedReading(const CReader& /*reader*/, const char* text) override {
    if (events_) {
      std::string line;
      JsonBuilder(line).BeginObject().String("event", "failedReading").EndObject();
      Emit(line);
    }
    reports_.failed = true;
    if (text != nullptr) reports_.reason = text;
  }

  // What a live run reported; read after the reader thread has ended.
  const LiveReports& reports() const { return reports_; }

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
  std::string liveName_;
  int64_t done_ = 0;
  LiveReports reports_;
};

enum class Outcome { kRead, kNotRead, kNotRecognised };

// A live run: the records are not shown, only whether and when they came.
int RunLive(CReader& reader, const XseReaderEntryPoints& entry, RunObserver& observer,
            const ServerAddress& server, const LiveLimits& limits, bool events,
            const std::string& name) {
  LiveTap tap(nullptr, nullptr);
  entry.setRecordTap(&reader, &tap, 0);
  entry.setDeadAfter(&reader, limits.deadAfterS);
  int32_t result = 0;
  observer.SetLiveName(name);
  const int status = RunLiveSession(reader, server, name, limits, tap, observer.reports(), result);
  if (status == kExitFailure && result == 0) {
    // Not reached at all: nothing ran, nothing to show.
    entry.setRecordTap(&reader, nullptr, 0);
    return status;
  }
  // Counted by the plug-in in 64 bits: the progress report's count stops
  // at 2^31 - 1, which a live session passes in minutes.
  uint64_t bytes = 0;
  uint64_t frames = 0;
  entry.liveCounts(&reader, &bytes, &frames);
  if (events) {
    std::string line;
    JsonBuilder(line)
        .BeginObject()
        .String("event", "finished")
        .Number("result", status)
        .Number("readerResult", result)
        .Number("bytes", bytes)
        .Number("frames", frames)
        .EndObject();
    RunObserver::Emit(line);
  } else {
    std::printf("%s: %llu bytes processed, %llu frames decoded\n", name.c_str(),
                static_cast<unsigned long long>(bytes), static_cast<unsigned long long>(frames));
  }
  entry.setRecordTap(&reader, nullptr, 0);
  return status;
}

struct RunOptions {
  bool events = false;
  bool extensionCheck = true;
  std::string connect;
  std::optional<ServerAddress> server;
  LiveLimits limits;
  std::vector<std::string> files;
};

// The options, or the exit status when there is nothing to run.
std::optional<int> ParseRunOptions(std::span<const std::string_view> args, RunOptions& options) {
  bool noExtensionCheck = false;
  const std::string help = std::string(kRunHelp) + kDeadAfterHelp;
  CommandLine line("run", kRunUsage, help);
  line.Flag("--events", options.events);
  line.Flag("--no-ext-check", noExtensionCheck);
  line.Value("--connect", [&options](std::string_view value) {
    options.connect = value;
    options.server = ParseServerAddress(options.connect);
    return options.server.has_value();
  });
  const auto millisecondsIn = [](uint64_t& target) {
    return [&target](std::string_view value) {
      target = ParseSecondsAsMilliseconds(value).value_or(0);
      return target > 0;
    };
  };
  line.Value("--duration", millisecondsIn(options.limits.durationMs));
  line.Value("--idle-exit", millisecondsIn(options.limits.idleExitMs));
  line.Value("--dead-after", [&options](std::string_view value) {
    return ParseDeadAfter(value, options.limits.deadAfterS);
  });
  if (const auto exit = line.Parse(args)) return exit;
  options.extensionCheck = !noExtensionCheck;
  options.files = line.operands();
  if (options.server && !options.files.empty())
    return line.UsageError("--connect reads from the server, not from files");
  if (!options.server && options.files.empty()) return line.UsageError("no input file");
  return std::nullopt;
}

// Why the plug-in's file check said no, in the tool's one error form.
std::string RefusalReason(const std::string& file, bool extensionCheck) {
  platform::ReadOnlyFile probe;
  if (!probe.Open(file)) return "cannot open " + file + ": " + probe.error();
  const bool xseName = file.size() >= 4 && file.compare(file.size() - 4, 4, ".xse") == 0;
  if (extensionCheck && !xseName) return file + ": not an .xse file (--no-ext-check reads it)";
  return file + ": no XSE data found";
}

// Offers each file to the plug-in's check; the ones it refuses are told on
// stderr (and as fileFailed events) and marked not recognised.
std::vector<Outcome> OfferFiles(CReader& reader, const RunOptions& options) {
  std::vector<Outcome> outcomes(options.files.size(), Outcome::kNotRead);
  for (size_t i = 0; i < options.files.size(); ++i) {
    const std::string& file = options.files[i];
    std::string name = file;  // the check may rewrite its argument
    if (reader.CanReadFile(name) != 0) {
      reader.fileList.push_back(file);
      continue;
    }
    outcomes[i] = Outcome::kNotRecognised;
    const std::string reason = RefusalReason(file, options.extensionCheck);
    std::fprintf(stderr, "xse: %s\n", reason.c_str());
    if (options.events) {
      std::string line;
      JsonBuilder(line)
          .BeginObject()
          .String("event", "fileFailed")
          .String("file", file)
          .String("reason", reason)
          .EndObject();
      RunObserver::Emit(line);
    }
  }
  return outcomes;
}

// Runs the reader thread over its file list until it ends or a Ctrl-C
// stops it; nothing when the thread did not start.
std::optional<int32_t> ReadFileList(CReader& reader, bool& stopRequested) {
  platform::InterruptCatcher interrupt;
  if (reader.StartReaderThread(CReader::ReaderRun::kFileList) == 0) {
    std::fprintf(stderr, "xse: cannot start the reader thread\n");
    return std::nullopt;
  }
  while (!reader.WaitReaderThread(kInterruptPollMs)) {
    if (!stopRequested && interrupt.Caught()) {
      reader.StopReader();
      stopRequested = true;
    }
  }
  return reader.JoinReaderThread();
}

// Matches the reports to the files in order; a name may be given twice.
void MarkFilesRead(const std::vector<std::string>& added, const std::vector<std::string>& files,
                   std::vector<Outcome>& outcomes) {
  size_t next = 0;
  for (const std::string& name : added) {
    for (size_t i = next; i < files.size(); ++i) {
      if (outcomes[i] == Outcome::kNotRead && files[i] == name) {
        outcomes[i] = Outcome::kRead;
        next = i + 1;
        break;
      }
    }
  }
}

void ReportFileRun(const CReader& reader, const RunOptions& options,
                   const std::vector<Outcome>& outcomes, int32_t result, int status) {
  if (options.events) {
    std::string finished;
    JsonBuilder(finished)
        .BeginObject()
        .String("event", "finished")
        .Number("result", status)
        .Number("readerResult", result)
        .Number("startTimeSet", reader.startTimeSet)
        .Number("startTimeSec", reader.startTimeSec)
        .Number("startTimeMs", reader.startTimeMs)
        .EndObject();
    RunObserver::Emit(finished);
    return;
  }
  for (size_t i = 0; i < options.files.size(); ++i) {
    static constexpr const char* kWords[] = {"read", "not read", "not recognised"};
    std::printf("%s: %s\n", options.files[i].c_str(), kWords[static_cast<int>(outcomes[i])]);
  }
}

}  // namespace

int RunRunCommand(std::span<const std::string_view> args) {
  RunOptions options;
  if (const auto exit = ParseRunOptions(args, options)) return *exit;

  XseReaderModule module;
  PluginReader reader = LoadPluginReader(module);
  if (reader == nullptr) return kExitFailure;
  reader->extensionCheck = options.extensionCheck ? 1 : 0;
  std::vector<Outcome> outcomes = OfferFiles(*reader, options);

  RunObserver observer(options.events, platform::IsTerminal(platform::StandardStream::kError));
  reader->SetObserver(&observer);
  int status = kExitFailure;
  if (options.server) {
    status = RunLive(*reader, module.entry(), observer, *options.server, options.limits,
                     options.events, options.connect);
  } else {
    bool stopRequested = false;
    if (const std::optional<int32_t> result = ReadFileList(*reader, stopRequested)) {
      MarkFilesRead(observer.filesAdded(), options.files, outcomes);
      bool allRead = true;
      for (const Outcome outcome : outcomes) allRead = allRead && outcome == Outcome::kRead;
      status = FileRunExitStatus(*result, stopRequested, allRead);
      ReportFileRun(*reader, options, outcomes, *result, status);
    }
  }
  reader.reset();
  module.Unload();
  return status;
}

int FileRunExitStatus(int32_t result, bool stopRequested, bool allRead) {
  // The plug-in answers -1 both when stopped and when it could not get
  // memory for a source: only a stop that was asked for is "stopped".
  if (result < 0) return stopRequested ? kExitStopped : kExitFailure;
  return allRead ? kExitOk : kExitFailure;
}

}  // namespace xsetool
