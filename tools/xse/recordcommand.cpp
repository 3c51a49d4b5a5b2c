// xse record: every byte one or more XSE servers send, to disk, in files
// that `xse dump` reads as it reads the live session.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "platform/interruptsignal.h"
#include "platform/paths.h"
#include "platform/terminal.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xse/livehost.h"
#include "tools/xse/sessionrecorder.h"
#include "tools/xse/xseclient.h"

namespace xsetool {
namespace {

constexpr const char* kRecordUsage =
    "usage: xse record --connect ADDRESS:PORT [--connect ADDRESS:PORT...] -o DIR\n"
    "                  [--rotate-size SIZE] [--rotate-time SECONDS] [--idle-exit SECONDS]\n"
    "                  [--dead-after SECONDS]\n";

constexpr const char* kRecordHelp =
    "Records live XSE data: every byte the server at ADDRESS:PORT (a host\n"
    "name, an IPv4 address or [IPv6]:PORT, resolved once; the client connects\n"
    "over IPv4) sends, in order, damaged stretches included, so that `xse dump`\n"
    "of the recording writes what `xse dump --connect` writes of the session.\n"
    "Files are named by the UTC time of their first byte (YYYYMMDD-HHMMSS.xse,\n"
    "then YYYYMMDD-HHMMSS_002.xse and on for more in one second),\n"
    "written as NAME.xse.part and renamed when complete, flushed every second,\n"
    "and cut only where a frame starts. With several --connect each server is\n"
    "recorded at once into a folder of DIR named by its address (127.0.0.1_5000).\n"
    "On a terminal a status line on stderr shows rate, frames, file and free disk.\n"
    "\n"
    "  -o DIR                 where the files go (made when missing)\n"
    "  --rotate-size SIZE     a new file once the open one has SIZE bytes (K, M, G)\n"
    "  --rotate-time SECONDS  a new file once the open one is SECONDS old\n"
    "  --idle-exit SECONDS    end when no byte came for SECONDS\n"
    "  --help                 show this help\n"
    "\n"
    "The run ends when every server has ended its data, on --idle-exit, or on\n"
    "Ctrl-C (every open file is closed and named). Exit status 0 when every\n"
    "server sent data and every file was written, 1 with the reason on stderr\n"
    "otherwise (a full disk ends the run; the files completed before are kept,\n"
    "the one being written stays as .part), 130 on Ctrl-C, 143 on SIGTERM.\n";

constexpr uint32_t kReceiveWaitMs = 100;
constexpr size_t kReadBytes = size_t{1} << 20;
constexpr auto kStatusEvery = std::chrono::milliseconds(500);

struct Source {
  std::string name;  // as given
  ServerAddress address;
  std::unique_ptr<SessionRecorder> recorder;
  std::string error;  // what ended it badly; written by its thread
  std::atomic<bool> done{false};
};

struct RecordSettings {
  std::vector<std::string> connects;
  std::string folder;
  SessionRecorder::Rules rules;
  uint64_t idleExitMs = 0;
  uint32_t deadAfterS = kDefaultDeadAfterS;
};

// Reads one server until it ends, fails, falls idle or `running` clears.
void RecordOne(Source& source, const RecordSettings& settings,
               const std::atomic<int32_t>& running) {
  const uint64_t idleExitMs = settings.idleExitMs;
  XseClient client(running, settings.deadAfterS);
  std::string error;
  const auto& o = source.address.octets;
  if (!ResolveServerAddress(source.address, error) ||
      !client.Open({o[0], o[1], o[2], o[3]}, source.address.port, error)) {
    if (running.load() != 0)
      source.error = "cannot reach the XSE server at " + source.name + ": " + error;
    source.done = true;
    return;
  }
  SessionRecorder& recorder = *source.recorder;
  std::vector<uint8_t> buffer(kReadBytes);
  auto lastData = std::chrono::steady_clock::now();
  while (running.load() != 0) {
    const int64_t got = client.Receive(buffer, kReceiveWaitMs, error);
    const auto now = SessionRecorder::Clock::now();
    if (got > 0) {
      lastData = std::chrono::steady_clock::now();
      if (!recorder.Take({buffer.data(), static_cast<size_t>(got)}, now)) break;
      continue;
    }
    if (got == -1) break;  // the server's orderly end
    if (got == -2) {
      source.error =
          "the XSE server at " + source.name + " broke off the data connection: " + error;
      break;
    }
    if (!recorder.Tick(now)) break;
    if (idleExitMs > 0 &&
        std::chrono::steady_clock::now() - lastData >= std::chrono::milliseconds(idleExitMs))
      break;
  }
  if (!recorder.Finish(SessionRecorder::Clock::now()) || !recorder.error().empty())
    source.error = recorder.error();
  client.Release();
  source.done = true;
}

// The host as given (names and literals alike, ':' of IPv6 as '-') and the
// port, in a form every file system takes.
std::string FolderName(const ServerAddress& address) {
  std::string host = address.host;
  std::replace(host.begin(), host.end(), ':', '-');
  return host + "_" + std::to_string(address.port);
}

void ShowStatus(const std::vector<std::unique_ptr<Source>>& sources, const std::string& folder,
                std::vector<uint64_t>& lastBytes, double seconds) {
  std::string line = "\r";
  for (size_t i = 0; i < sources.size(); ++i) {
    const SessionRecorder& r = *sources[i]->recorder;
    const uint64_t bytes = r.bytes();
    char part[256];
    std::snprintf(part, sizeof part, "%s%s %.1f MB/s, %llu frames, %s", i > 0 ? "; " : "",
                  sources[i]->name.c_str(),
                  static_cast<double>(bytes - lastBytes[i]) / 1e6 / seconds,
                  static_cast<unsigned long long>(r.frames()), r.currentFile().c_str());
    line += part;
    lastBytes[i] = bytes;
  }
  std::error_code failed;
  const auto space = std::filesystem::space(platform::PathFromUtf8(folder), failed);
  if (!failed) {
    char free[64];
    std::snprintf(free, sizeof free, ", %.1f GB free", static_cast<double>(space.available) / 1e9);
    line += free;
  }
  std::fputs((line + "\x1b[K").c_str(), stderr);
}

// Makes the sources and their folders; false with the message written.
bool PrepareSources(const RecordSettings& settings, std::vector<std::unique_ptr<Source>>& sources) {
  for (const std::string& connect : settings.connects) {
    auto source = std::make_unique<Source>();
    source->name = connect;
    source->address = *ParseServerAddress(connect);
    std::string folder = settings.folder;
    if (settings.connects.size() > 1) folder += "/" + FolderName(source->address);
    std::error_code failed;
    std::filesystem::create_directories(platform::PathFromUtf8(folder), failed);
    if (failed) {
      std::fprintf(stderr, "xse: cannot write %s: %s\n", folder.c_str(), failed.message().c_str());
      return false;
    }
    source->recorder = std::make_unique<SessionRecorder>(folder, settings.rules);
    sources.push_back(std::move(source));
  }
  return true;
}

int RecordAll(const RecordSettings& settings) {
  std::vector<std::unique_ptr<Source>> sources;
  if (!PrepareSources(settings, sources)) return kExitFailure;
  platform::InterruptCatcher interrupt;
  std::atomic<int32_t> running{1};
  std::vector<std::thread> threads;
  for (auto& source : sources)
    threads.emplace_back(RecordOne, std::ref(*source), std::cref(settings), std::cref(running));
  const bool status = platform::IsTerminal(platform::StandardStream::kError);
  std::vector<uint64_t> lastBytes(sources.size(), 0);
  auto lastStatus = std::chrono::steady_clock::now();
  for (bool allDone = false; !allDone;) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    if (interrupt.Caught()) running = 0;
    allDone = true;
    for (const auto& source : sources) allDone = allDone && source->done.load();
    const auto now = std::chrono::steady_clock::now();
    if (status && now - lastStatus >= kStatusEvery) {
      ShowStatus(sources, settings.folder, lastBytes,
                 std::chrono::duration<double>(now - lastStatus).count());
      lastStatus = now;
    }
  }
  for (std::thread& thread : threads) thread.join();
  if (status) std::fputc('\n', stderr);
  int exit = kExitOk;
  for (const auto& source : sources) {
    if (!source->error.empty()) {
      std::fprintf(stderr, "xse: %s\n", source->error.c_str());
      exit = kExitFailure;
    } else if (source->recorder->frames() == 0 && !interrupt.Caught()) {
      std::fprintf(stderr, "xse: no data from the XSE server at %s\n", source->name.c_str());
      exit = kExitFailure;
    }
  }
  return interrupt.Caught() ? StoppedExitStatus(interrupt.Terminated()) : exit;
}

}  // namespace

int RunRecordCommand(std::span<const std::string_view> args) {
  RecordSettings settings;
  const std::string help = std::string(kRecordHelp) + kDeadAfterHelp;
  CommandLine line("record", kRecordUsage, help);
  line.Value("--connect", [&settings](std::string_view value) {
    settings.connects.emplace_back(value);
    return ParseServerAddress(value).has_value();
  });
  line.Value("-o", [&settings](std::string_view value) {
    settings.folder = value;
    return !value.empty();
  });
  line.Value("--rotate-size", [&settings](std::string_view value) {
    settings.rules.rotateBytes = ParseByteSize(value).value_or(0);
    return settings.rules.rotateBytes > 0;
  });
  const auto millisecondsIn = [](uint64_t& target) {
    return [&target](std::string_view value) {
      target = ParseSecondsAsMilliseconds(value).value_or(0);
      return target > 0;
    };
  };
  line.Value("--rotate-time", millisecondsIn(settings.rules.rotateMs));
  line.Value("--idle-exit", millisecondsIn(settings.idleExitMs));
  line.Value("--dead-after", [&settings](std::string_view value) {
    return ParseDeadAfter(value, settings.deadAfterS);
  });
  if (const auto exit = line.Parse(args)) return *exit;
  if (!line.operands().empty()) return line.UsageError("record takes no files");
  if (settings.connects.empty()) return line.UsageError("no --connect");
  if (settings.folder.empty()) return line.UsageError("no -o DIR");
  return RecordAll(settings);
}

}  // namespace xsetool
