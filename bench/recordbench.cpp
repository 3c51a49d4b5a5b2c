// Recording benchmark: `xse record`'s path (the tool's client and the
// session recorder cutting files at frame starts) against a plain copy of
// the same session (the same client, every read written straight to one
// file), both over loopback from the project's own unpaced server onto the
// same disk, in one run; then two servers recorded at once.
//   xse_recordbench --file=SURVEY.xse [--total-mib=N] [--dir=FOLDER]
// Prints the summary rows that scripts/bench collects into its table.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/summarytable.h"
#include "platform/file.h"
#include "tools/xse/livehost.h"
#include "tools/xse/sessionrecorder.h"
#include "tools/xse/xseclient.h"
#include "tools/xseserver/xseserver.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Run {
  std::vector<uint8_t> survey;
  uint64_t totalBytes = 0;
  std::string dir;
};

// Serves `run.survey` over and over until `run.totalBytes` went out.
struct LoopedServer {
  explicit LoopedServer(const Run& run) : server(Options()) {
    std::string error;
    if (!server.Start(error)) std::fprintf(stderr, "recordbench: %s\n", error.c_str());
    thread = std::thread([this, &run] {
      uint64_t sent = 0;
      server.ServeOne([&]() -> std::span<const uint8_t> {
        if (sent >= run.totalBytes) return {};
        sent += run.survey.size();
        return run.survey;
      });
    });
  }
  ~LoopedServer() { thread.join(); }
  static xseserver::Options Options() {
    xseserver::Options options;
    options.waitMs = 10000;
    return options;
  }
  xseserver::XseServer server;
  std::thread thread;
};

// Reads one session to its end, handing every read to `take`; the bytes.
template <typename Take>
uint64_t ReadSession(uint16_t port, Take take) {
  std::atomic<int32_t> running{1};
  xsetool::XseClient client(running, xsetool::kDefaultDeadAfterS);
  std::string error;
  if (!client.Open({127, 0, 0, 1}, port, error)) {
    std::fprintf(stderr, "recordbench: %s\n", error.c_str());
    return 0;
  }
  std::vector<uint8_t> buffer(size_t{1} << 20);
  uint64_t total = 0;
  for (;;) {
    const int64_t got = client.Receive(buffer, 100, error);
    if (got < 0) break;
    take(std::span<const uint8_t>(buffer.data(), static_cast<size_t>(got)));
    total += static_cast<uint64_t>(got);
  }
  client.Release();
  return total;
}

double PlainCopy(const Run& run) {
  LoopedServer server(run);
  std::FILE* out = std::fopen((run.dir + "/plain.xse").c_str(), "wb");
  const auto start = Clock::now();
  const uint64_t bytes = ReadSession(server.server.port(), [out](std::span<const uint8_t> piece) {
    std::fwrite(piece.data(), 1, piece.size(), out);
  });
  std::fclose(out);
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  std::filesystem::remove(run.dir + "/plain.xse");
  return static_cast<double>(bytes) / 1e6 / seconds;
}

// Records `count` servers at once; the MB/s of all together.
double Recorded(const Run& run, int count) {
  std::vector<std::unique_ptr<LoopedServer>> servers;
  for (int i = 0; i < count; ++i) servers.push_back(std::make_unique<LoopedServer>(run));
  std::atomic<uint64_t> bytes{0};
  const auto start = Clock::now();
  std::vector<std::thread> readers;
  for (int i = 0; i < count; ++i) {
    readers.emplace_back([&, i] {
      const std::string folder = run.dir + "/rec" + std::to_string(i);
      std::filesystem::create_directories(folder);
      xsetool::SessionRecorder recorder(folder, {uint64_t{256} << 20, 0});
      bytes += ReadSession(servers[static_cast<size_t>(i)]->server.port(),
                           [&recorder](std::span<const uint8_t> piece) {
                             recorder.Take(piece, xsetool::SessionRecorder::Clock::now());
                           });
      recorder.Finish(xsetool::SessionRecorder::Clock::now());
    });
  }
  for (std::thread& reader : readers) reader.join();
  const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
  for (int i = 0; i < count; ++i) std::filesystem::remove_all(run.dir + "/rec" + std::to_string(i));
  return static_cast<double>(bytes.load()) / 1e6 / seconds;
}

std::string Format(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  Run run;
  std::string file;
  run.totalBytes = uint64_t{512} << 20;
  run.dir = std::filesystem::temp_directory_path().string();
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg.starts_with("--file=")) file = arg.substr(7);
    if (arg.starts_with("--total-mib="))
      run.totalBytes = std::stoull(std::string(arg.substr(12))) << 20;
    if (arg.starts_with("--dir=")) run.dir = arg.substr(6);
  }
  platform::ReadOnlyFile input;
  if (file.empty() || !input.Open(file)) {
    std::fprintf(stderr, "usage: xse_recordbench --file=SURVEY.xse [--total-mib=N] [--dir=DIR]\n");
    return 2;
  }
  run.survey.resize(static_cast<size_t>(input.Size().value_or(0)));
  input.ReadAt(0, run.survey);
  const double plain = PlainCopy(run);
  const double recorded = Recorded(run, 1);
  const double two = Recorded(run, 2);
  xsebench::PrintSummaryRow("record, unpaced loopback to disk (MB/s)", Format("%.0f", recorded),
                            "");
  xsebench::PrintSummaryRow("record / plain TCP copy to disk", Format("%.2f", recorded / plain),
                            ">= 0.8");
  xsebench::PrintSummaryRow("record, two servers at once (MB/s, both)", Format("%.0f", two), "");
  return 0;
}
