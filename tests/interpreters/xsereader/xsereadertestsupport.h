// What the plug-in's tests share: XSE files made with the frame writer and
// an observer that records the host reports as text.
#pragma once

#include <cstdint>
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
  xsewriter::FrameWriter writer(std::endian::big);
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

// Records every report as text: "progress P D T", "fileAdded NAME",
// "failedReading", joined by "; ".
class EventRecorder final : public IReaderObserver {
 public:
  void OnProgress(const CReader& /*reader*/, const CReader::ProgressStat& stat) override {
    Add("progress " + std::to_string(stat.percent) + " " + std::to_string(stat.done) + " " +
        std::to_string(stat.total));
  }
  void OnFileAdded(const CReader& /*reader*/, const std::string& fileName) override {
    Add("fileAdded " + fileName);
  }
  void OnFailedReading(const CReader& /*reader*/, const char* text) override {
    Add(text == nullptr ? "failedReading" : std::string("failedReading ") + text);
  }

  std::string events() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return events_;
  }

 private:
  void Add(const std::string& event) {
    std::lock_guard<std::mutex> lock(mutex_);
    events_ += (events_.empty() ? "" : "; ") + event;
  }
  mutable std::mutex mutex_;
  std::string events_;
};

}  // namespace xsetest
