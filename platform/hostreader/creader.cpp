#include "platform/hostreader/creader.h"

#include <algorithm>
#include <chrono>
#include <system_error>

void CReader::ProgressStat::RecalcProgress() {
  if (total <= 0) {
    percent = 0;
    return;
  }
  const int64_t scaled = static_cast<int64_t>(done) * 100 / total;
  percent = static_cast<int32_t>(std::clamp<int64_t>(scaled, 0, 100));
}

CReader::Properties::Properties() = default;
CReader::Properties::Properties(const Properties& other) = default;
CReader::Properties::Properties(Properties&& other) noexcept = default;
CReader::Properties& CReader::Properties::operator=(const Properties& other) = default;
CReader::Properties& CReader::Properties::operator=(Properties&& other) noexcept = default;
CReader::Properties::~Properties() = default;

void CReader::Properties::GetProperties(ZPropList& list) {
  for (size_t i = 0; i < values.size(); ++i) {
    list.Add(("Parameter " + std::to_string(i + 1)).c_str(), values[i]);
  }
}

bool CReader::Properties::PropertyHostSlot1(int32_t /*propertyId*/, int32_t /*value*/) {
  return true;
}

void CReader::Properties::PropertyHostSlot2(int32_t /*propertyId*/) {}

bool CReader::Properties::IsPropertyEnabled(const void* /*property*/) { return true; }

bool CReader::Properties::PropertyHostSlot4(int32_t /*propertyId*/) { return true; }

CReader::CReader(int32_t hostValue) : hostValue_(hostValue) {}

CReader::~CReader() {
  if (thread_.joinable()) {
    running.store(0);
    thread_.join();
  }
}

int32_t CReader::CanReadFile(std::string& /*fileName*/) { return 0; }

int32_t CReader::RunReader() { return 0; }

int32_t CReader::MultipleRunReader() { return 0; }

int32_t CReader::StopReader() {
  running.store(0);
  return 1;
}

int32_t CReader::CloseReader() {
  StopReader();
  return JoinReaderThread();
}

int32_t CReader::SetTideTable(const std::string& tideFile) {
  tideTable_ = tideFile;
  return 1;
}

int32_t CReader::ConnectTo(uint8_t /*a*/, uint8_t /*b*/, uint8_t /*c*/, uint8_t /*d*/,
                           int16_t /*port*/, int32_t /*last*/) {
  return 0;
}

int32_t CReader::NotifyProgress(ProgressStat& stat) {
  stat.lastPercent = stat.percent;
  if (observer_ != nullptr) observer_->OnProgress(*this, stat);
  return 1;
}

void CReader::Reset() {}

int32_t CReader::StartReaderThread(ReaderRun run) {
  if (thread_.joinable()) return 0;
  running.store(1);
  return ContinueInReaderThread(run);
}

int32_t CReader::ContinueInReaderThread(ReaderRun run) {
  if (thread_.joinable()) return 0;
  std::lock_guard<std::mutex> lock(threadMutex_);
  threadDone_ = false;
  try {
    thread_ = std::thread(&CReader::ThreadMain, this, run);
  } catch (const std::system_error&) {
    threadDone_ = true;
    running.store(0);
    return 0;
  }
  return 1;
}

bool CReader::WaitReaderThread(uint32_t timeoutMs) {
  std::unique_lock<std::mutex> lock(threadMutex_);
  return threadEnded_.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                               [this] { return threadDone_; });
}

int32_t CReader::JoinReaderThread() {
  if (thread_.joinable()) thread_.join();
  std::lock_guard<std::mutex> lock(threadMutex_);
  return threadResult_;
}

void CReader::FileAdded() {
  if (observer_ != nullptr) observer_->OnFileAdded(*this, currentFileName);
}

void CReader::FailedReading(const char* text) {
  if (observer_ != nullptr) observer_->OnFailedReading(*this, text);
}

std::string CReader::GetFileExt(const std::string& fileName) {
  const size_t slash = fileName.rfind('/');
  const size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
  const size_t dot = fileName.rfind('.');
  if (dot == std::string::npos || dot <= nameStart) return {};
  return fileName.substr(dot + 1);
}

void CReader::ThreadMain(ReaderRun run) {
  int32_t result = -1;
  // An exception must not leave the thread (that would end the host): a
  // run that throws counts as stopped.
  try {
    result = run == ReaderRun::kFileList ? MultipleRunReader() : RunReader();
  } catch (...) {
    result = -1;
  }
  running.store(0);
  {
    std::lock_guard<std::mutex> lock(threadMutex_);
    threadResult_ = result;
    threadDone_ = true;
  }
  threadEnded_.notify_all();
}
