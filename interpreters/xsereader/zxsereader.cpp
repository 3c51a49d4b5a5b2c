#include "interpreters/xsereader/zxsereader.h"

#include <algorithm>
#include <limits>
#include <new>

#include "interpreters/surveyreaderlib/elacreader/elacconnection.h"
#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/xsereader/tracelogsink.h"
#include "libsys/ztracelogfile.h"
#include "platform/messagebox.h"
#include "platform/sleep.h"

namespace {

constexpr char kMessageBoxCaption[] = "XSEReader";
constexpr char kOutOfMemoryText[] = "Out of memory.";

// The progress record is 32-bit: sizes and counts beyond its range stop at
// its limit instead of wrapping, so a source of 2 GiB or more shows 100
// percent early rather than nonsense.
int32_t ClampToInt32(int64_t value) {
  return static_cast<int32_t>(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

bool EqualsIgnoringCase(const std::string& text, const char* expected) {
  std::string lower = text;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c + 32 : c);
  });
  return lower == expected;
}

}  // namespace

ZXSEReader::ZXSEReader(int32_t hostValue) : CReader(hostValue) {
  // The host's reader base is exported with a fixed layout; the plug-in's
  // reserved working storage and its zero-filled area are left out: nothing
  // reads or writes them.
  QUORLOG(1, "ZXSEReader::ZXSEReader()");
}

ZXSEReader::~ZXSEReader() {
  QUORLOG(1, "ZXSEReader::~ZXSEReader()");
  // The reader thread calls into this object: it must be over before the
  // object goes, even if the host forgot to wait for it.
  ZXSEReader::StopReader();
  JoinReaderThread();
  ZXSEReader::Reset();
}

int32_t ZXSEReader::CanReadFile(std::string& fileName) {
  return sCanReadFile(fileName, extensionCheck);
}

int32_t ZXSEReader::sCanReadFile(const std::string& fileName, int32_t extensionCheck) {
  if (extensionCheck != 0 && !EqualsIgnoringCase(GetFileExt(fileName), "xse")) return 0;
  // Every failure is a "cannot read", running out of memory for the file's
  // read buffer included.
  try {
    ElacFile file;
    int32_t answer = 0;
    if (file.Open(fileName.c_str())) {
      int32_t processed = 0;
      bool consumed = false;
      // A source may report progress without a frame; ElacFile never does,
      // so this is one call for a file.
      do {
        consumed = file.receiveData(processed, 0);
      } while (!consumed && processed >= 1);
      // Consuming bytes is not enough: a size field that lies (too large
      // for the decoder to follow) consumes the marker and size as well.
      answer = consumed && file.LastFrameFits() ? 1 : 0;
    }
    file.Close();
    return answer;
  } catch (...) {
    return 0;
  }
}

void ZXSEReader::WaitForOpenContainer() {
  if (container_->IsOpen()) return;
  QUORLOG(1, "Waiting to open container...");
  // A source that never opens (a server that does not answer) must not
  // hold the reader thread: the wait ends with the running flag, and pauses
  // between attempts.
  while (!container_->Open("")) {
    if (running.load() == 0) {
      QUORLOG(1, "Stopped while waiting for the container");
      return;
    }
    // A source that failed for good ends the wait; the run reports it.
    if (connection_ != nullptr && connection_->Failed()) return;
    openRetryPause(kOpenRetryPauseMs);
  }
  QUORLOG(1, "Container has been opened");
}

int32_t ZXSEReader::RunReader() {
  QUORLOG(1, "RunReader()");
  if (container_ == nullptr) {
    QUORLOG(1, "RunReader() without a source");
    return 0;
  }
  WaitForOpenContainer();

  CReader::ProgressStat stat;
  stat.percent = 0;
  stat.lastPercent = -1;
  stat.done = 0;
  stat.total = ClampToInt32(container_->GetSize());
  stat.reserved = 0;
  NotifyProgress(stat);

  liveBytes_ = 0;
  while (running.load() != 0) {
    int32_t processed = 0;
    if (!container_->receiveData(processed, 0)) break;
    liveBytes_ += static_cast<uint64_t>(std::max(processed, 0));
    if (processed > 0 && connection_ != nullptr && onPass_ != nullptr) onPass_(passContext_);
    stat.done = ClampToInt32(static_cast<int64_t>(stat.done) + processed);
    stat.RecalcProgress();
    if (stat.percent > stat.lastPercent) NotifyProgress(stat);
  }
  stat.percent = 100;
  NotifyProgress(stat);

  // One look decides both the report and the result, so a stop that lands
  // here cannot give a reported file with a "stopped" result.
  const bool finished = running.load() != 0;
  liveFrames_ = connection_ != nullptr ? connection_->framesDecoded() : 0;
  if (finished) {
    if (SourceEndedWell()) {
      FileAdded();
    } else {
      FailedReading(connection_ != nullptr ? connection_->FailureText() : nullptr);
    }
  }
  QUORLOG(1, "RunReader() done");
  Reset();
  return finished ? 1 : -1;
}

int32_t ZXSEReader::MultipleRunReader() {
  while (!fileList.empty() && running.load() != 0) {
    std::unique_ptr<ElacFile> file;
    bool opened = false;
    // Opening a file takes its read buffer, so it can run out of memory as
    // well as the creation: both end the run the same way rather than the
    // reader thread.
    try {
      file = std::make_unique<ElacFile>(static_cast<quor::ISurveyTarget*>(this));
      file->SetTraceSink(&TraceLogSink::Shared());
      currentFileName = std::move(fileList.front());
      fileList.pop_front();
      opened = file->Open(currentFileName.c_str());
    } catch (const std::bad_alloc&) {
      platform::ShowMessageBox(kMessageBoxCaption, kOutOfMemoryText);
      return -1;
    } catch (...) {
      return -1;
    }
    if (!opened) continue;
    container_ = std::move(file);
    RunReader();
  }
  return running.load() != 0 ? 0 : -1;
}

int32_t ZXSEReader::StopReader() {
  running.store(0);
  return 1;
}

int32_t ZXSEReader::ConnectTo(uint8_t a, uint8_t b, uint8_t c, uint8_t d, int16_t port,
                              int32_t /*last*/) {
  auto connection = std::make_unique<ElacConnection>(this);
  connection->SetMode(liveHeadMode_);
  connection->SetTraceSink(&TraceLogSink::Shared());
  ElacConnection::Limits limits;
  limits.deadAfterS = deadAfterS_;
  connection->SetLimits(limits);
  const uint8_t address[4] = {a, b, c, d};
  // The flag is up before the first connect, so that a StopReader from any
  // thread from here on ends the connect attempts and the pauses between
  // them, and is not undone when the reader thread starts.
  running.store(1);
  connection->SetRunningFlag(&running);
  if (!connection->Connect(0, port, address, "XSEReader")) {
    running.store(0);
    // The host learns why through its observer; ConnectTo's answer stays 0.
    FailedReading(connection->FailureText());
    return 0;
  }
  ElacConnection* live = connection.get();
  SetContainer(std::move(connection));
  connection_ = live;
  return ContinueInReaderThread();
}

bool ZXSEReader::SourceEndedWell() const {
  if (connection_ != nullptr) return connection_->EndedWithData();
  return !currentFileName.empty();
}

void ZXSEReader::Reset() {
  connection_ = nullptr;
  container_.reset();
}

void ZXSEReader::SetRecordTap(quor::ISurveyTarget* tap, int32_t headMode) {
  tap_ = tap;
  liveHeadMode_ = headMode;
}

void ZXSEReader::SetupProperties(const XSEProperties* properties) {
  if (properties == nullptr) return;
  std::copy_n(properties->values.begin(), parameterBlock.size(), parameterBlock.begin());
}

int32_t ZXSEReader::ConvertTime(const quor::SensorRec& record) const {
  // Unsigned arithmetic wraps where the signed would overflow.
  const uint32_t seconds =
      static_cast<uint32_t>(record.time.tv_sec) - static_cast<uint32_t>(startTimeSec);
  const uint32_t milliseconds = seconds * 1000u - static_cast<uint32_t>(startTimeMs) +
                                static_cast<uint32_t>(record.time.tv_usec / 1000);
  return static_cast<int32_t>(milliseconds);
}

void ZXSEReader::SetContainer(std::unique_ptr<IElacContainer> container) {
  connection_ = nullptr;
  container_ = std::move(container);
}

void ZXSEReader::HandleStartTime(const quor::timeval& startTime) {
  if (tap_ != nullptr) tap_->HandleStartTime(startTime);
  if (startTimeSet != 0) return;
  startTimeSec = startTime.tv_sec;
  startTimeMs = startTime.tv_usec / 1000;
}

void ZXSEReader::HandleParameter(const quor::ParameterRec& record) {
  QUORLOG(3, "HandleParameter()");
  if (tap_ != nullptr) tap_->HandleParameter(record);
}

void ZXSEReader::HandlePosition(const quor::NavigationRec& record) {
  QUORLOG(3, "HandlePosition()");
  if (tap_ != nullptr) tap_->HandlePosition(record);
  if (startTimeSet != 0) return;
  startTimeSec = record.time.tv_sec;
  startTimeSet = 1;
  startTimeMs = record.time.tv_usec / 1000;
}

void ZXSEReader::HandleGyro(const quor::GyroRec& record) {
  if (tap_ != nullptr) tap_->HandleGyro(record);
  if (record.sensorIndex == 1) {
    bathymetryHeading_ = record.heading;
  } else {
    primaryHeading_ = record.heading;
  }
}

void ZXSEReader::HandleMotion(const quor::MotionRec& record) {
  if (tap_ != nullptr) tap_->HandleMotion(record);
}

void ZXSEReader::HandleMultibeam(const quor::MultibeamRec& record) {
  QUORLOG(3, "HandleMultibeam()");
  if (tap_ != nullptr) tap_->HandleMultibeam(record);
}

void ZXSEReader::HandleSidescan(const quor::SidescanRec& record) {
  if (tap_ != nullptr) tap_->HandleSidescan(record);
}

void ZXSEReader::HandleGeodesy() {
  if (tap_ != nullptr) tap_->HandleGeodesy();
}
