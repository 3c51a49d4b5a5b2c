// ZXSEReader: the reader object the host creates and drives. It reads a
// list of XSE files, or live data from an XSE server, on the host's reader thread,
// one data source at a time, reports progress and each file's outcome to
// the host, and takes the start time of the data and the latest headings
// from the records the decoder hands it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "interpreters/surveyreaderlib/elacreader/ielaccontainer.h"
#include "platform/hostreader/creader.h"
#include "platform/hostreader/zproplist.h"
#include "platform/sleep.h"
#include "xsereader/isurveytarget.h"

class ElacConnection;

class ZXSEReader : public CReader, public quor::ISurveyTarget {
 public:
  // How long a live server may answer nothing before the run ends.
  static constexpr uint32_t kDefaultDeadAfterS = 30;
  // The reader's properties: the host's common ones under the section "XSE".
  class XSEProperties : public CReader::Properties {
   public:
    XSEProperties() = default;
    XSEProperties(const XSEProperties&) = default;
    XSEProperties(XSEProperties&&) noexcept = default;
    XSEProperties& operator=(const XSEProperties&) = default;
    XSEProperties& operator=(XSEProperties&&) noexcept = default;
    ~XSEProperties() override = default;

    // Adds the section "XSE" (value -1), then the host's common properties.
    void GetProperties(ZPropList& list) override;
    bool PropertyHostSlot1(int32_t propertyId, int32_t value) override;  // true
    void PropertyHostSlot2(int32_t propertyId) override;                 // nothing
    bool PropertyHostSlot4(int32_t propertyId) override;                 // true
  };

  // How long the wait for a source to open pauses between attempts: short
  // enough that a stop ends the wait at once for a person, long enough not
  // to burn a core on a server that never answers.
  static constexpr uint32_t kOpenRetryPauseMs = 20;
  // The pause itself; tests replace it to count pauses instead of sleeping.
  std::function<void(uint32_t milliseconds)> openRetryPause = platform::SleepMilliseconds;

  explicit ZXSEReader(int32_t hostValue = 0);
  // Stops and joins a reader thread still running, then drops the source.
  ~ZXSEReader() override;

  // sCanReadFile with the reader's extension-check flag.
  int32_t CanReadFile(std::string& fileName) override;
  // Whether `fileName` holds XSE data: with `extensionCheck` its extension
  // must be "xse" in any case; then the file must open and its first read
  // must consume bytes (a first frame start at a multiple of 4 bytes whose
  // frame fits the file). 1 or 0; nothing is reported.
  static int32_t sCanReadFile(const std::string& fileName, int32_t extensionCheck);

  // Reads the prepared source to its end or until the running flag is
  // cleared. Progress goes to NotifyProgress whenever the percentage rises;
  // a run that reached the end reports FileAdded (a named file) or
  // FailedReading(null). The source is dropped in every case. Returns 1
  // when the run ended by itself, -1 when it was stopped, 0 when there was
  // no source to read.
  int32_t RunReader() override;
  // Reads the file list from its head, one ElacFile per name; files that do
  // not open (or are empty) are skipped without a report. 0 when the list
  // was worked through, -1 when stopped or no source could be made.
  int32_t MultipleRunReader() override;
  // Clears the running flag; nothing else. Returns 1.
  int32_t StopReader() override;
  // Live data from the XSE server at a.b.c.d:port (`last` is not looked
  // at): connects to it on this thread, makes the connection the source and
  // starts the reader thread; its result, or 0 when the server cannot be
  // reached (reported with the reason through FailedReading). The running
  // flag is set before the first connect, so a StopReader from another
  // thread during the connect ends it within a fraction of a second and is
  // never undone. This thread must go on dispatching its window messages
  // until the reader thread has opened the data connection. The run ends by
  // itself when the exchange fails (FailedReading, with the reason) or the
  // server ends the data after at least one frame was decoded (FileAdded,
  // with no file name); a stop ends it within a fraction of a second in
  // every state.
  int32_t ConnectTo(uint8_t a, uint8_t b, uint8_t c, uint8_t d, int16_t port,
                    int32_t last) override;
  // Drops the source, if any.
  void Reset() override;

  // Copies the first five parameter values of `properties` into the
  // parameter block; null changes nothing.
  void SetupProperties(const XSEProperties* properties);

  // Milliseconds of `record` since the start time, in wrapping 32-bit
  // arithmetic. Does not look at the start-time flag.
  int32_t ConvertTime(const quor::SensorRec& record) const;

  // Every record also goes to `tap` (not owned; null: none) on the reader
  // thread, and live runs select the bathymetry heads by `headMode`
  // (ElacReader::HeadMode). For tools that show what the plug-in decodes.
  void SetRecordTap(quor::ISurveyTarget* tap, int32_t headMode);
  // In a live run, `onPass(context)` follows every decoding pass that
  // consumed bytes, on the reader thread: where a host writes out what the
  // pass delivered, so that records do not wait behind a slow sonar.
  void SetPassCallback(void (*onPass)(void* context), void* context) {
    onPass_ = onPass;
    passContext_ = context;
  }
  // A live run whose server has answered nothing, not even the system's
  // probes, for `seconds` fails with a reason saying so; 0: only the
  // system's own limits. A vanished host sends no end and no reset.
  void SetDeadAfter(uint32_t seconds) { deadAfterS_ = seconds; }
  // The last run's bytes consumed and, for a live run, frames decoded:
  // 64-bit, where the progress report's count stops at 2^31 - 1.
  uint64_t liveBytes() const { return liveBytes_; }
  uint64_t liveFrames() const { return liveFrames_; }

  // Makes `container` the source of the next RunReader (owned).
  void SetContainer(std::unique_ptr<IElacContainer> container);
  bool HasContainer() const { return container_ != nullptr; }

  // Latest heading of the primary source and of the heading carried in
  // bathymetry frames; -1 until one arrives.
  double primaryHeading() const { return primaryHeading_; }
  double bathymetryHeading() const { return bathymetryHeading_; }

  // quor::ISurveyTarget: the start time and the headings; the rest only
  // leave a verbose trace line, if that.
  void HandleStartTime(const quor::timeval& startTime) override;
  void HandleParameter(const quor::ParameterRec& record) override;
  void HandlePosition(const quor::NavigationRec& record) override;
  void HandleGyro(const quor::GyroRec& record) override;
  void HandleMotion(const quor::MotionRec& record) override;
  void HandleMultibeam(const quor::MultibeamRec& record) override;
  void HandleSidescan(const quor::SidescanRec& record) override;
  void HandleGeodesy() override;

 private:
  // Waits until the source is open or the running flag is cleared.
  void WaitForOpenContainer();

  // Whether a run that ended by itself read its source through.
  bool SourceEndedWell() const;

  std::unique_ptr<IElacContainer> container_;
  // The live source among the containers, when the current one is one.
  ElacConnection* connection_ = nullptr;
  quor::ISurveyTarget* tap_ = nullptr;
  int32_t liveHeadMode_ = 0;
  uint32_t deadAfterS_ = kDefaultDeadAfterS;
  uint64_t liveBytes_ = 0;
  uint64_t liveFrames_ = 0;
  void (*onPass_)(void* context) = nullptr;
  void* passContext_ = nullptr;
  double primaryHeading_ = -1.0;
  double bathymetryHeading_ = -1.0;
};
