// The host's reader library: the base class of every reader plug-in, its
// reader thread, progress and outcome reporting, and the property types the
// host's option dialogs work with. It is a shared library of its own, used
// by the host program and by every plug-in module, so both sides see the
// same classes.
//
// A host drives a reader so:
//   reader->SetObserver(&observer);          // where progress and outcomes go
//   reader->fileList = {...};                 // for a file run
//   reader->StartReaderThread(CReader::ReaderRun::kFileList);
//   ... reader->StopReader() at any time, from any thread ...
//   int32_t result = reader->JoinReaderThread();
//   delete reader;                            // only after the thread has ended
#pragma once

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "platform/hostreader/ipropertyhost.h"
#include "platform/hostreader/zproplist.h"
#include "platform/sharedapi.h"

class IReaderObserver;

class XSE_SHARED_API CReader {
 public:
  // Progress of one run, filled by the reader's run loop.
  struct ProgressStat {
    int32_t percent = 0;
    int32_t lastPercent = -1;  // kept current by NotifyProgress
    int32_t done = 0;          // bytes processed
    int32_t total = 0;         // bytes of the source; 0 when unknown
    int32_t reserved = 0;

    // Percent from done and total: done * 100 / total, truncated and held
    // within 0..100; 0 while the total is unknown (0 or less).
    void RecalcProgress();
  };

  // The reader's option values as the host keeps them.
  struct Parameters {
    static constexpr size_t kCount = 5;
    std::array<int32_t, kCount> values{};
  };

  // A reader's properties: its parameters plus what the host's property
  // dialog needs of them. Readers derive their own, adding their section.
  class Properties : public Parameters, public IPropertyHost {
   public:
    // Out of line, so the interface's tables stay in this library.
    Properties();
    Properties(const Properties& other);
    Properties(Properties&& other) noexcept;
    Properties& operator=(const Properties& other);
    Properties& operator=(Properties&& other) noexcept;
    virtual ~Properties();

    // Adds the properties common to every reader: one entry per parameter
    // value, "Parameter 1" to "Parameter 5".
    void GetProperties(ZPropList& list) override;
    bool PropertyHostSlot1(int32_t propertyId, int32_t value) override;
    void PropertyHostSlot2(int32_t propertyId) override;
    // Every common property can be edited.
    bool IsPropertyEnabled(const void* property) override;
    bool PropertyHostSlot4(int32_t propertyId) override;
  };

  // What the reader thread runs.
  enum class ReaderRun {
    kSingleSource,  // RunReader on the prepared source
    kFileList,      // MultipleRunReader over the file list
  };

  explicit CReader(int32_t hostValue = 0);
  CReader(const CReader&) = delete;
  CReader& operator=(const CReader&) = delete;
  // clang-format off
  // Joins a reader thread still running, after clearing the running flag.
  // The thread calls the derived reader, so a host must join (or close)
  // before it deletes one; this is only the last line of defence.
  virtual ~CReader();                                                         // slot 0

  virtual int32_t CanReadFile(std::string& fileName);                         // slot 1
  virtual int32_t RunReader();                                                // slot 2
  virtual int32_t MultipleRunReader();                                        // slot 3
  // Clears the running flag; the run loops end at their next look at it.
  virtual int32_t StopReader();                                               // slot 4
  // Stops the reader and waits for its thread; returns the run's result.
  virtual int32_t CloseReader();                                              // slot 5
  // Remembers the tide table the host wants applied; returns 1.
  virtual int32_t SetTideTable(const std::string& tideFile);                  // slot 6
  // Live data from a server at a.b.c.d:port. The base connects nowhere.
  virtual int32_t ConnectTo(uint8_t a, uint8_t b, uint8_t c, uint8_t d, int16_t port,
                            int32_t last);                                    // slot 7
  // Reports `stat` to the observer and makes its last percent current.
  virtual int32_t NotifyProgress(ProgressStat& stat);                         // slot 8
  virtual void Reset();                                                       // slot 9
  // clang-format on

  // Starts the reader thread with the running flag set. Returns 1 when it
  // started, 0 when a reader thread of this reader has not been joined yet
  // or no thread could be made.
  int32_t StartReaderThread(ReaderRun run = ReaderRun::kSingleSource);
  // The same, leaving the running flag as it is: for a run whose set-up
  // set the flag before it began (a live connect), so that a stop during
  // that set-up is not undone; the thread then ends at its first look.
  int32_t ContinueInReaderThread(ReaderRun run = ReaderRun::kSingleSource);
  // Waits up to `timeoutMs` for the reader thread to end; true when it has
  // ended (or none was started).
  bool WaitReaderThread(uint32_t timeoutMs);
  // Waits for the reader thread and returns what its run returned (0 when
  // no thread was started, -1 when the run threw). The running flag is 0
  // afterwards.
  int32_t JoinReaderThread();

  // Reports that the current file has been read completely.
  void FileAdded();
  // Reports that reading failed; `text` may be null.
  void FailedReading(const char* text);

  // The extension of a file name without its dot: what follows the last '.'
  // of the name's last path component. Empty when that component has no
  // dot, or only a leading one (a hidden file's name is no extension).
  static std::string GetFileExt(const std::string& fileName);

  // Installs where reports go (null: nowhere). Set it before starting the
  // reader thread; the observer must outlive the run.
  void SetObserver(IReaderObserver* observer) { observer_ = observer; }

  int32_t hostValue() const { return hostValue_; }
  const std::string& tideTable() const { return tideTable_; }

  // Fields the host and the plug-in share. Apart from the running flag,
  // each belongs to one thread at a time: the host's before the reader
  // thread starts and after it has been joined, the reader thread's in
  // between.
  std::list<std::string> fileList;  // files still to read, head first
  std::string currentFileName;      // the file being read
  std::array<int32_t, Parameters::kCount>
      parameterBlock{};             // copied in by the plug-in's properties
  int32_t extensionCheck = 1;       // CanReadFile checks the extension
  std::atomic<int32_t> running{0};  // non-zero while the reader may run
  uint8_t startTimeSet = 0;         // the start time has been fixed
  int64_t startTimeSec = 0;         // seconds since 1970-01-01 UTC
  int32_t startTimeMs = 0;

 private:
  void ThreadMain(ReaderRun run);

  int32_t hostValue_;
  std::string tideTable_;
  IReaderObserver* observer_ = nullptr;

  std::thread thread_;
  std::mutex threadMutex_;
  std::condition_variable threadEnded_;
  bool threadDone_ = true;    // guarded by threadMutex_
  int32_t threadResult_ = 0;  // guarded by threadMutex_
};

// Receives what a reader reports. Calls arrive on the reader thread, in the
// order the reader makes them; an observer shared between threads guards
// itself.
class XSE_SHARED_API IReaderObserver {
 public:
  virtual void OnProgress(const CReader& reader, const CReader::ProgressStat& stat) = 0;
  // The current file has been read completely.
  virtual void OnFileAdded(const CReader& reader, const std::string& fileName) = 0;
  // Reading failed; `text` may be null.
  virtual void OnFailedReading(const CReader& reader, const char* text) = 0;

 protected:
  IReaderObserver() = default;
  IReaderObserver(const IReaderObserver&) = default;
  IReaderObserver& operator=(const IReaderObserver&) = default;
  ~IReaderObserver() = default;
};
