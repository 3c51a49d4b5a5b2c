// What the plug-in's tests share: XSE files made with the frame writer and
// an observer that records the host reports as text.
#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "platform/hostreader/creader.h"
#include "tools/framewriter/framewriter.h"
#include "tools/framewriter/xsegroups.h"

namespace xsetest {

// `count` navigation frames with a position each, one second apart from
// `unixSeconds` (+ `microseconds`), in big-endian order.
inline std::vector<uint8_t> PositionFrames(int count, int64_t unixSeconds = 1660867200,
                                           uint32_t microseconds = 0) {
  std::vector<uint8_t> bytes;
  xsewriter::FrameWriter writer(true);
  for (int i = 0; i < count; ++i) {
    writer.BeginFrame(elac::kNavigationFrame, xsewriter::XseSecondsFromUnix(unixSeconds + i),
                      microseconds);
    xsewriter::PutPositionGroup(writer, "WGS84", 0.9, 0.1, 5.0);
    xsewriter::PutHeadingGroup(writer, 1.0);
    const auto frame = writer.EndFrame();
    bytes.insert(bytes.end(), frame.begin(), frame.end());
  }
  return bytes;
}

// Records every report as a line of text: "progress P D T",
// "fileAdded NAME", "failedReading". `onProgress` runs on the reader thread
// after a progress report is recorded.
class EventRecorder final : public IReaderObserver {
 public:
  void OnProgress(const CReader& reader, const CReader::ProgressStat& stat) override {
    Add("progress " + std::to_string(stat.percent) + " " + std::to_string(stat.done) + " " +
        std::to_string(stat.total));
    if (onProgress) onProgress(reader, stat);
  }
  void OnFileAdded(const CReader& /*reader*/, const std::string& fileName) override {
    Add("fileAdded " + fileName);
  }
  void OnFailedReading(const CReader& /*reader*/, const char* text) override {
    Add(text == nullptr ? "failedReading" : std::string("failedReading ") + text);
  }

  std::vector<std::string> events() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return events_;
  }
  // The events that are not progress reports.
  std::vector<std::string> outcomes() const {
    std::vector<std::string> kept;
    for (const std::string& event : events()) {
      if (!event.starts_with("progress")) kept.push_back(event);
    }
    return kept;
  }

  std::function<void(const CReader&, const CReader::ProgressStat&)> onProgress;

 private:
  void Add(std::string event) {
    std::lock_guard<std::mutex> lock(mutex_);
    events_.push_back(std::move(event));
  }
  mutable std::mutex mutex_;
  std::vector<std::string> events_;
};

}  // namespace xsetest
