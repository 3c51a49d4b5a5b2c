// xse serve: plays a recorded XSE file as a live XSE data server on
// 127.0.0.1, for one client: the request and acknowledge on the server's
// port, the set-up frames on the data port, then the file's bytes.
#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/file.h"
#include "platform/sleep.h"
#include "tools/xse/argparse.h"
#include "tools/xse/commands.h"
#include "tools/xseserver/xseserver.h"

namespace xsetool {
namespace {

constexpr const char* kServeUsage =
    "usage: xse serve [--port N] [--data-port N] [--chunk BYTES] [--interval-ms MS]\n"
    "                 [--wait SECONDS] FILE\n";

constexpr const char* kServeHelp =
    "Plays FILE as a live XSE data server on 127.0.0.1 for one client: takes\n"
    "its request on the server's port, answers with an acknowledge naming the\n"
    "data port, takes the three set-up frames there, sends the file's bytes and\n"
    "waits for the client's release. The first line on stdout tells the ports:\n"
    "  listening on 127.0.0.1:PORT, data port DATAPORT\n"
    "At the end a summary of the session goes to stdout. Exit status 0 when the\n"
    "client ran through to its release, 1 otherwise.\n"
    "\n"
    "  --port N         the server's port (default: any free port)\n"
    "  --data-port N    the data port (default: any free port)\n"
    "  --chunk BYTES    bytes per send (default 8K)\n"
    "  --interval-ms MS pause between sends (default 20): the reader takes at\n"
    "                   most 64 KiB per pass and pauses up to 100 ms when no\n"
    "                   data is waiting, so a much faster server loses data\n"
    "  --wait SECONDS   how long to wait for the client at each step (default 60)\n"
    "  --help           show this help\n";

int ServeUsageError(const std::string& message) {
  std::fprintf(stderr, "xse serve: %s\n%s", message.c_str(), kServeUsage);
  return kExitUsage;
}

std::optional<uint16_t> ParsePort(std::string_view text) {
  const auto value = ParseUnsigned(text);
  if (!value || *value > 65535) return std::nullopt;
  return static_cast<uint16_t>(*value);
}

}  // namespace

int RunServeCommand(std::span<const std::string_view> args) {
  xseserver::Options options;
  options.waitMs = 60000;
  options.chunkBytes = 8192;
  uint64_t intervalMs = 20;
  std::string file;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string_view arg = args[i];
    if (arg == "--help" || arg == "-h") {
      std::fputs(kServeUsage, stdout);
      std::fputs(kServeHelp, stdout);
      return kExitOk;
    }
    const bool takesValue = arg == "--port" || arg == "--data-port" || arg == "--chunk" ||
                            arg == "--interval-ms" || arg == "--wait";
    if (takesValue) {
      if (i + 1 >= args.size()) return ServeUsageError(std::string(arg) + " needs a value");
      const std::string_view value = args[++i];
      if (arg == "--port" || arg == "--data-port") {
        const auto port = ParsePort(value);
        if (!port) return ServeUsageError("bad port '" + std::string(value) + "'");
        (arg == "--port" ? options.port : options.dataPort) = *port;
      } else if (arg == "--chunk") {
        const auto bytes = ParseByteSize(value);
        if (!bytes || *bytes == 0 || *bytes > (64u << 20)) {
          return ServeUsageError("bad chunk size '" + std::string(value) + "' (1 to 64M)");
        }
        options.chunkBytes = static_cast<size_t>(*bytes);
      } else if (arg == "--interval-ms") {
        const auto ms = ParseUnsigned(value);
        if (!ms || *ms > 60000) return ServeUsageError("bad interval '" + std::string(value) + "'");
        intervalMs = *ms;
      } else {
        const auto seconds = ParseUnsigned(value);
        if (!seconds || *seconds == 0 || *seconds > 86400) {
          return ServeUsageError("bad wait '" + std::string(value) + "'");
        }
        options.waitMs = static_cast<uint32_t>(*seconds * 1000);
      }
    } else if (arg.size() > 1 && arg.front() == '-' && arg != "--") {
      return ServeUsageError("unknown option '" + std::string(arg) + "'");
    } else if (arg != "--") {
      if (!file.empty()) return ServeUsageError("one file at a time");
      file = arg;
    }
  }
  if (file.empty()) return ServeUsageError("no input file");

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

  // The file is sent as it is read, one chunk in memory at a time.
  std::vector<uint8_t> chunk(options.chunkBytes);
  uint64_t offset = 0;
  bool readFailed = false;
  const xseserver::Session session = server.ServeOne([&]() -> std::span<const uint8_t> {
    if (offset > 0 && intervalMs > 0)
      platform::SleepMilliseconds(static_cast<uint32_t>(intervalMs));
    const auto count = input.ReadAt(offset, chunk);
    if (!count) {
      readFailed = true;
      return {};
    }
    offset += *count;
    return {chunk.data(), *count};
  });

  std::printf("requests %zu, set-up frames %zu, bytes sent %llu, acknowledge released %s\n",
              session.requests.size(), session.setupFrames.size(),
              static_cast<unsigned long long>(session.bytesSent),
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
