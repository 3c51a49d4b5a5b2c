// xse serve: plays a recorded XSE file as a live XSE data server on
// 127.0.0.1, for one client: the request and acknowledge on the server's
// port, the set-up frames on the data port, then the file's bytes.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "platform/file.h"
#include "platform/sleep.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commandline.h"
#include "tools/xse/commands.h"
#include "tools/xseserver/xseserver.h"

namespace xsetool {
namespace {

constexpr const char* kServeUsage =
    "usage: xse serve [--port N] [--data-port N] [--chunk BYTES] [--rate BYTES_PER_SECOND]\n"
    "                 [--interval-ms MS] [--loop N] [--wait SECONDS] FILE\n";

constexpr const char* kServeHelp =
    "Plays FILE as a live XSE data server on 127.0.0.1 for one client: takes\n"
    "its request on the server's port, answers with an acknowledge naming the\n"
    "data port, takes the three set-up frames there, sends the file's bytes as\n"
    "fast as the client takes them (or paced), ends the data and waits for the\n"
    "client's release. The first line on stdout tells the ports:\n"
    "  listening on 127.0.0.1:PORT, data port DATAPORT\n"
    "At the end one line says how much of the file went out and how fast.\n"
    "Exit status 0 when the client ran through to its release, 1 otherwise\n"
    "(the reason on stderr).\n"
    "\n"
    "  --port N         the server's port (default: any free port)\n"
    "  --data-port N    the data port (default: any free port)\n"
    "  --chunk BYTES    bytes per send (default 64K)\n"
    "  --rate BYTES_PER_SECOND  paces the sends like a sonar (units K, M, G)\n"
    "  --interval-ms MS pause between sends (default 0)\n"
    "  --loop N         plays the file N times over (default 1)\n"
    "  --wait SECONDS   how long to wait for the client at each step (default 60)\n"
    "  --help           show this help\n";

// What the command line asks for.
struct ServeSettings {
  xseserver::Options options;
  uint64_t intervalMs = 0;
  uint64_t rate = 0;  // bytes per second; 0: as fast as the client takes them
  uint64_t loops = 1;
};

std::function<bool(std::string_view)> PortIn(uint16_t& target) {
  return [&target](std::string_view value) {
    const auto port = ParseUnsigned(value);
    if (!port || *port > 65535) return false;
    target = static_cast<uint16_t>(*port);
    return true;
  };
}

void AddServeOptions(CommandLine& line, ServeSettings& settings) {
  xseserver::Options& options = settings.options;
  line.Value("--port", PortIn(options.port));
  line.Value("--data-port", PortIn(options.dataPort));
  line.Value("--chunk", [&options](std::string_view value) {
    const auto bytes = ParseByteSize(value);
    if (!bytes || *bytes == 0 || *bytes > (64u << 20)) return false;  // 1 byte to 64M
    options.chunkBytes = static_cast<size_t>(*bytes);
    return true;
  });
  line.Value("--rate", [&settings](std::string_view value) {
    settings.rate = ParseByteSize(value).value_or(0);
    return settings.rate > 0;
  });
  line.Value("--loop", [&settings](std::string_view value) {
    settings.loops = ParseUnsigned(value).value_or(0);
    return settings.loops > 0 && settings.loops <= 1000000;
  });
  line.Value("--interval-ms", [&settings](std::string_view value) {
    const auto ms = ParseUnsigned(value);
    settings.intervalMs = ms.value_or(0);
    return ms && *ms <= 60000;
  });
  line.Value("--wait", [&options](std::string_view value) {
    const auto seconds = ParseUnsigned(value);
    if (!seconds || *seconds == 0 || *seconds > 86400) return false;
    options.waitMs = static_cast<uint32_t>(*seconds * 1000);
    return true;
  });
}

// Hands out the file, one chunk in memory at a time, as often as asked;
// with a rate, each chunk waits until the bytes before it are due.
class FilePlayer {
 public:
  FilePlayer(platform::ReadOnlyFile& input, const ServeSettings& settings)
      : input_(input), settings_(settings), chunk_(settings.options.chunkBytes) {}

  std::span<const uint8_t> Next() {
    if (handedOut_ == 0) start_ = std::chrono::steady_clock::now();
    if (handedOut_ > 0 && settings_.intervalMs > 0)
      platform::SleepMilliseconds(static_cast<uint32_t>(settings_.intervalMs));
    if (settings_.rate > 0) {
      std::this_thread::sleep_until(
          start_ + std::chrono::microseconds(handedOut_ * 1000000 / settings_.rate));
    }
    for (;;) {
      const auto count = input_.ReadAt(offset_, chunk_);
      if (!count) {
        readFailed_ = true;
        return {};
      }
      if (*count == 0 && ++played_ < settings_.loops && offset_ > 0) {
        offset_ = 0;  // the next time over
        continue;
      }
      offset_ += *count;
      handedOut_ += *count;
      return {chunk_.data(), *count};
    }
  }

  bool readFailed() const { return readFailed_; }
  // Seconds from the first chunk handed out until now.
  double SecondsSinceStart() const {
    if (handedOut_ == 0) return 0.0;
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  platform::ReadOnlyFile& input_;
  const ServeSettings& settings_;
  std::vector<uint8_t> chunk_;
  uint64_t offset_ = 0;
  uint64_t played_ = 0;
  uint64_t handedOut_ = 0;
  bool readFailed_ = false;
  std::chrono::steady_clock::time_point start_;
};

// What a person wants to know of the session: how much of the file went
// out and how fast. Whether the client saw it through is the exit status.
void PrintSummary(const xseserver::Session& session, uint64_t fileBytes, double seconds) {
  const double megabytes = static_cast<double>(session.bytesSent) / 1e6;
  std::printf("bytes sent %llu of %llu in %.1f s (%.1f MB/s)\n",
              static_cast<unsigned long long>(session.bytesSent),
              static_cast<unsigned long long>(fileBytes), seconds,
              seconds > 0 ? megabytes / seconds : 0.0);
}

}  // namespace

int RunServeCommand(std::span<const std::string_view> args) {
  ServeSettings settings;
  settings.options.waitMs = 60000;
  settings.options.chunkBytes = 65536;
  CommandLine line("serve", kServeUsage, kServeHelp);
  AddServeOptions(line, settings);
  if (const auto exit = line.Parse(args)) return *exit;
  if (line.operands().empty()) return line.UsageError("no input file");
  if (line.operands().size() > 1) return line.UsageError("one file at a time");
  const std::string& file = line.operands().front();

  platform::ReadOnlyFile input;
  if (!input.Open(file)) {
    std::fprintf(stderr, "xse: cannot open %s: %s\n", file.c_str(), input.error().c_str());
    return kExitFailure;
  }
  xseserver::XseServer server(settings.options);
  std::string error;
  if (!server.Start(error)) {
    std::fprintf(stderr, "xse: %s\n", error.c_str());
    return kExitFailure;
  }
  std::printf("listening on 127.0.0.1:%u, data port %u\n", server.port(), server.dataPort());
  std::fflush(stdout);

  FilePlayer player(input, settings);
  const xseserver::Session session = server.ServeOne([&player] { return player.Next(); });
  PrintSummary(session, input.Size().value_or(0) * settings.loops, player.SecondsSinceStart());
  if (player.readFailed()) {
    std::fprintf(stderr, "xse: %s: %s\n", file.c_str(), input.error().c_str());
    return kExitFailure;
  }
  if (!session.error.empty()) {
    std::fprintf(stderr, "xse: %s\n", session.error.c_str());
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace xsetool
