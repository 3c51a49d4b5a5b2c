// xse serve: plays a recorded XSE file as a live XSE data server on
// 127.0.0.1, for one client: the request and acknowledge on the server's
// port, the set-up frames on the data port, then the file's bytes.
#include <algorithm>
#include <chrono>
#include <cstdio>
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
    "At the end a summary of the session goes to stdout. Exit status 0 when the\n"
    "client ran through to its release, 1 otherwise.\n"
    "\n"
    "  --port N         the server's port (default: any free port)\n"
    "  --data-port N    the data port (default: any free port)\n"
    "  --chunk BYTES    bytes per send (default 64K)\n"
    "  --rate BYTES_PER_SECOND  paces the sends like a sonar (units K, M, G)\n"
    "  --interval-ms MS pause between sends (default 0)\n"
    "  --loop N         plays the file N times over (default 1)\n"
    "  --wait SECONDS   how long to wait for the client at each step (default 60)\n"
    "  --help           show this help\n";

}  // namespace

int RunServeCommand(std::span<const std::string_view> args) {
  xseserver::Options options;
  options.waitMs = 60000;
  options.chunkBytes = 65536;
  uint64_t intervalMs = 0;
  uint64_t rate = 0;  // bytes per second; 0: as fast as the client takes them
  uint64_t loops = 1;
  CommandLine line("serve", kServeUsage, kServeHelp);
  const auto portIn = [](uint16_t& target) {
    return [&target](std::string_view value) {
      const auto port = ParseUnsigned(value);
      if (!port || *port > 65535) return false;
      target = static_cast<uint16_t>(*port);
      return true;
    };
  };
  line.Value("--port", portIn(options.port));
  line.Value("--data-port", portIn(options.dataPort));
  line.Value("--chunk", [&options](std::string_view value) {
    const auto bytes = ParseByteSize(value);
    if (!bytes || *bytes == 0 || *bytes > (64u << 20)) return false;  // 1 byte to 64M
    options.chunkBytes = static_cast<size_t>(*bytes);
    return true;
  });
  line.Value("--rate", [&rate](std::string_view value) {
    rate = ParseByteSize(value).value_or(0);
    return rate > 0;
  });
  line.Value("--loop", [&loops](std::string_view value) {
    loops = ParseUnsigned(value).value_or(0);
    return loops > 0 && loops <= 1000000;
  });
  line.Value("--interval-ms", [&intervalMs](std::string_view value) {
    const auto ms = ParseUnsigned(value);
    intervalMs = ms.value_or(0);
    return ms && *ms <= 60000;
  });
  line.Value("--wait", [&options](std::string_view value) {
    const auto seconds = ParseUnsigned(value);
    if (!seconds || *seconds == 0 || *seconds > 86400) return false;
    options.waitMs = static_cast<uint32_t>(*seconds * 1000);
    return true;
  });
  if (const auto exit = line.Parse(args)) return *exit;
  if (line.operands().empty()) return line.UsageError("no input file");
  if (line.operands().size() > 1) return line.UsageError("one file at a time");
  const std::string& file = line.operands().front();

  platform::ReadOnlyFile input;
  if (!input.Open(file)) {
    std::fprintf(stderr, "xse serve: %s: %s\n", file.c_str(), input.error().c_str());
    return kExitFailure;
  }
  xseserver::XseServer server(options);
  std::string error;
  if (!server.Start(error)) {
    std::fprintf(stderr, "xse serve: %s\n", error.c_str());
    return kExitFailure;
  }
  std::printf("listening on 127.0.0.1:%u, data port %u\n", server.port(), server.dataPort());
  std::fflush(stdout);

  // The file is sent as it is read, one chunk in memory at a time; with a
  // rate, each chunk waits until the bytes before it are due.
  std::vector<uint8_t> chunk(options.chunkBytes);
  uint64_t offset = 0;
  uint64_t played = 0;
  uint64_t handedOut = 0;
  bool readFailed = false;
  std::chrono::steady_clock::time_point start;
  const xseserver::Session session = server.ServeOne([&]() -> std::span<const uint8_t> {
    if (handedOut == 0) start = std::chrono::steady_clock::now();
    if (handedOut > 0 && intervalMs > 0)
      platform::SleepMilliseconds(static_cast<uint32_t>(intervalMs));
    if (rate > 0) {
      std::this_thread::sleep_until(start + std::chrono::microseconds(handedOut * 1000000 / rate));
    }
    for (;;) {
      const auto count = input.ReadAt(offset, chunk);
      if (!count) {
        readFailed = true;
        return {};
      }
      if (*count == 0 && ++played < loops && offset > 0) {
        offset = 0;  // the next time over
        continue;
      }
      offset += *count;
      handedOut += *count;
      return {chunk.data(), *count};
    }
  });

  std::printf("requests %zu, set-up frames %zu, bytes sent %llu of %llu, acknowledge released %s\n",
              session.requests.size(), session.setupFrames.size(),
              static_cast<unsigned long long>(session.bytesSent),
              static_cast<unsigned long long>(input.Size().value_or(0)) * loops,
              session.acknowledgeReleased ? "yes" : "no");
  if (readFailed) {
    std::fprintf(stderr, "xse serve: %s: %s\n", file.c_str(), input.error().c_str());
    return kExitFailure;
  }
  if (!session.error.empty()) {
    std::fprintf(stderr, "xse serve: %s\n", session.error.c_str());
    return kExitFailure;
  }
  return kExitOk;
}

}  // namespace xsetool
