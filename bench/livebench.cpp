// Live-data benchmark: the plug-in's live path (ConnectTo, the run on its
// reader thread, this thread dispatching its messages) over loopback,
// against the project's own server, measured in one run:
//   - unpaced throughput, with every record delivered, against a plain TCP
//     read of the same bytes over the same loopback;
//   - at a paced rate, the time from the server's send of a frame to its
//     record reaching the consumer (p50, p99);
//   - the CPU an idle connection takes.
// Prints the summary rows that scripts/bench collects into its table.
#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <ctime>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "bench/summarytable.h"
#include "bench/touchingtarget.h"
#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/memorystream.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "interpreters/xsereader/zxsereader.h"
#include "platform/file.h"
#include "platform/framework/wnd.h"
#include "platform/tcpsocket.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"
#include "tools/xseserver/xseserver.h"

namespace {

using Clock = std::chrono::steady_clock;
using xsebench::PrintSummaryRow;

constexpr size_t kSendBlock = 256 * 1024;

double Seconds(Clock::duration span) { return std::chrono::duration<double>(span).count(); }

std::string Format(const char* format, double value) {
  char text[64];
  std::snprintf(text, sizeof text, format, value);
  return text;
}

// Counts records and notes when the n-th sidescan ping arrived.
class TimingTarget final : public quor::ISurveyTarget {
 public:
  explicit TimingTarget(quor::ISurveyTarget& next, size_t pings = 0) : next_(next), at_(pings) {}
  void HandleStartTime(const quor::timeval& t) override { next_.HandleStartTime(t); }
  void HandleParameter(const quor::ParameterRec& r) override { next_.HandleParameter(r); }
  void HandlePosition(const quor::NavigationRec& r) override { next_.HandlePosition(r); }
  void HandleGyro(const quor::GyroRec& r) override { next_.HandleGyro(r); }
  void HandleMotion(const quor::MotionRec& r) override { next_.HandleMotion(r); }
  void HandleMultibeam(const quor::MultibeamRec& r) override { next_.HandleMultibeam(r); }
  void HandleSidescan(const quor::SidescanRec& r) override {
    if (pings_ < at_.size()) at_[pings_] = Clock::now();
    ++pings_;
    next_.HandleSidescan(r);
  }
  size_t pings() const { return pings_; }
  const std::vector<Clock::time_point>& at() const { return at_; }

 private:
  quor::ISurveyTarget& next_;
  size_t pings_ = 0;
  std::vector<Clock::time_point> at_;
};

// Runs the plug-in against `server` until the run ends by itself; returns
// the wall time from ConnectTo to the end.
Clock::duration RunPlugin(xseserver::XseServer& server, quor::ISurveyTarget& tap, int32_t& result) {
  ZXSEReader reader;
  reader.SetRecordTap(&tap, 0);
  const auto start = Clock::now();
  if (reader.ConnectTo(127, 0, 0, 1, static_cast<int16_t>(server.port()), 0) == 0) {
    result = 0;
    return {};
  }
  while (!reader.WaitReaderThread(5)) platform::DispatchThreadMessages();
  const auto took = Clock::now() - start;
  result = reader.JoinReaderThread();
  return took;
}

// A plain TCP read of `bytes`, sent `times` times over, with the same read
// size the live path uses; returns its wall time.
Clock::duration PlainRead(std::span<const uint8_t> bytes, size_t times) {
  uint16_t port = 0;
  const platform::SocketHandle listener = platform::ListenOnLoopback(port);
  std::thread sender([&] {
    const platform::SocketHandle peer = platform::AcceptConnection(listener);
    for (size_t t = 0; t < times; ++t) {
      for (size_t at = 0; at < bytes.size();) {
        const auto length = static_cast<int32_t>(std::min(kSendBlock, bytes.size() - at));
        const int32_t sent = platform::SendToSocket(peer, bytes.data() + at, length);
        if (sent <= 0) break;
        at += static_cast<size_t>(sent);
      }
    }
    platform::CloseSocket(peer);
  });
  const platform::SocketHandle client = platform::CreateIpv4Socket(platform::kStreamSocket);
  const auto start = Clock::now();
  platform::ConnectIpv4(client, 0x0100007F, port);
  std::vector<uint8_t> buffer(64 * 1024);
  uint64_t received = 0;
  uint64_t sum = 0;
  for (;;) {
    const int32_t n =
        platform::ReceiveSome(client, buffer.data(), static_cast<int32_t>(buffer.size()));
    if (n <= 0) break;
    received += static_cast<uint64_t>(n);
    sum += buffer[0];
  }
  const auto took = Clock::now() - start;
  sender.join();
  platform::CloseSocket(client);
  platform::CloseSocket(listener);
  if (received != bytes.size() * times || sum == 1) std::fprintf(stderr, "plain read short\n");
  return took;
}

// Sidescan pings of about `bytes` each.
std::vector<std::vector<uint8_t>> Pings(size_t count, size_t bytes) {
  std::vector<std::vector<uint8_t>> pings;
  std::vector<uint16_t> samples(bytes / 2);
  for (size_t i = 0; i < count; ++i) {
    xsewriter::FrameWriter writer(std::endian::big);
    writer.BeginFrame(elac::kSidescanFrame, 3838320000u, static_cast<uint32_t>(i));
    xsewriter::PutSidescanPingGroup(writer, static_cast<uint32_t>(i));
    xsewriter::PutSidescanSamplesGroup(writer, 20, 0, samples);
    xsewriter::PutSidescanGainGroup(writer, 0, 0);
    const auto frame = writer.EndFrame();
    pings.emplace_back(frame.begin(), frame.end());
  }
  return pings;
}

// Unpaced throughput against the plain read.
bool RunUnpaced(const std::vector<uint8_t>& survey, size_t times, uint64_t fileRecords) {
  xseserver::Options options;
  options.chunkBytes = kSendBlock;
  xseserver::XseServer server(options);
  std::string error;
  if (!server.Start(error)) {
    std::fprintf(stderr, "xse_livebench: %s\n", error.c_str());
    return false;
  }
  size_t sentTimes = 0;
  size_t at = 0;
  std::thread serving([&] {
    server.ServeOne([&]() -> std::span<const uint8_t> {
      if (at == survey.size()) {
        if (++sentTimes == times) return {};
        at = 0;
      }
      const size_t length = std::min(kSendBlock, survey.size() - at);
      const std::span<const uint8_t> piece(survey.data() + at, length);
      at += length;
      return piece;
    });
  });
  xsebench::TouchingTarget liveTarget;
  int32_t result = 0;
  const auto cpuBefore = std::clock();
  const Clock::duration live = RunPlugin(server, liveTarget, result);
  const double liveCpu = static_cast<double>(std::clock() - cpuBefore) / CLOCKS_PER_SEC;
  serving.join();
  const Clock::duration plain = PlainRead(survey, times);
  const double bytes = static_cast<double>(survey.size() * times);
  const bool lossless = result == 1 && liveTarget.records() == fileRecords * times;
  PrintSummaryRow("live decode over loopback, " + xsebench::Mebibytes(bytes),
                  Format("%.0f MB/s", bytes / Seconds(live) / 1e6), "at least 200 MB/s");
  PrintSummaryRow("plain TCP read of the same bytes",
                  Format("%.0f MB/s", bytes / Seconds(plain) / 1e6), "");
  PrintSummaryRow("live / plain read throughput", Format("%.2f", Seconds(plain) / Seconds(live)),
                  "at least 0.5");
  PrintSummaryRow("live run CPU (both ends, one process) per GB",
                  Format("%.2f s", liveCpu / bytes * 1e9), "");
  PrintSummaryRow("records lost", lossless ? "0" : "SOME", "0");

  return true;
}

// Paced: 200 pings of 16 KiB a second; each ping's send time against the
// moment its record reaches the consumer.
bool RunPaced() {
  std::string error;
  int32_t result = 0;
  constexpr size_t kPings = 400;
  const auto pings = Pings(kPings, 16 * 1024);
  std::vector<Clock::time_point> sentAt(kPings);
  {
    xseserver::XseServer paced(xseserver::Options{});
    if (!paced.Start(error)) return false;
    size_t next = 0;
    Clock::time_point first;
    std::thread pacing([&] {
      paced.ServeOne([&]() -> std::span<const uint8_t> {
        if (next == kPings) return {};
        if (next == 0) first = Clock::now();
        std::this_thread::sleep_until(first + std::chrono::milliseconds(5 * next));
        sentAt[next] = Clock::now();
        return pings[next++];
      });
    });
    xsebench::TouchingTarget sink;
    TimingTarget timing(sink, kPings);
    RunPlugin(paced, timing, result);
    pacing.join();
    if (timing.pings() != kPings)
      std::fprintf(stderr, "paced run: %zu of %zu pings, result %d\n", timing.pings(), kPings,
                   static_cast<int>(result));
    std::vector<double> latencies;
    for (size_t i = 0; i < kPings && i < timing.pings(); ++i)
      latencies.push_back(Seconds(timing.at()[i] - sentAt[i]) * 1e3);
    std::sort(latencies.begin(), latencies.end());
    const auto quantile = [&](double q) {
      return latencies.empty()
                 ? -1.0
                 : latencies[static_cast<size_t>(q * static_cast<double>(latencies.size() - 1))];
    };
    PrintSummaryRow("paced latency send to record, p50", Format("%.3f ms", quantile(0.5)),
                    "at most 1 ms");
    PrintSummaryRow("paced latency send to record, p99", Format("%.3f ms", quantile(0.99)),
                    "at most 5 ms");
  }

  return true;
}

// Idle: connected, set up, no data; the host thread dispatching as a
// host does.
bool RunIdle() {
  std::string error;
  {
    xseserver::Options quiet;
    quiet.closeAfterSurvey = false;
    quiet.waitMs = 4000;
    xseserver::XseServer idle(quiet);
    if (!idle.Start(error)) return false;
    std::thread idling([&] { idle.ServeOne(std::span<const uint8_t>()); });
    ZXSEReader reader;
    reader.ConnectTo(127, 0, 0, 1, static_cast<int16_t>(idle.port()), 0);
    const auto settle = Clock::now() + std::chrono::milliseconds(300);
    while (Clock::now() < settle) {
      platform::DispatchThreadMessages();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const auto cpu0 = std::clock();
    const auto wall0 = Clock::now();
    while (Clock::now() - wall0 < std::chrono::seconds(2)) {
      platform::DispatchThreadMessages();
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    const double cpu = static_cast<double>(std::clock() - cpu0) / CLOCKS_PER_SEC;
    const double wall = Seconds(Clock::now() - wall0);
    reader.StopReader();
    reader.JoinReaderThread();
    idling.join();
    PrintSummaryRow("idle connection CPU (reader and host threads)",
                    Format("%.2f %%", cpu / wall * 100), "under 1 %");
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  std::string file;
  size_t totalMiB = 512;
  for (int i = 1; i < argc; ++i) {
    const std::string_view arg = argv[i];
    if (arg.starts_with("--file=")) file = arg.substr(7);
    if (arg.starts_with("--total-mib=")) totalMiB = std::stoul(std::string(arg.substr(12)));
  }
  if (file.empty()) {
    std::fprintf(stderr, "usage: xse_livebench --file=SURVEY.xse [--total-mib=N]\n");
    return 2;
  }
  platform::ReadOnlyFile input;
  if (!input.Open(file)) {
    std::fprintf(stderr, "xse_livebench: %s: %s\n", file.c_str(), input.error().c_str());
    return 1;
  }
  std::vector<uint8_t> survey(input.Size().value_or(0));
  if (!input.ReadAt(0, survey)) return 1;
  const size_t times = std::max<size_t>(1, (totalMiB << 20) / std::max<size_t>(survey.size(), 1));

  // What a whole decode of the bytes gives, to check that nothing is lost.
  xsebench::TouchingTarget fileTarget;
  {
    ElacReader reader(&fileTarget, ElacReader::kAllBeams);
    elac::MemoryStream stream(survey);
    while (stream.good()) reader.ReadFrame(stream);
  }

  if (!RunUnpaced(survey, times, fileTarget.records())) return 1;
  return RunPaced() && RunIdle() ? 0 : 1;
}
