#include "tools/xse/sessionrecorder.h"

#include <cerrno>
#include <filesystem>
#include <optional>
#include <system_error>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/framesearch.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"
#include "platform/errortext.h"
#include "platform/paths.h"
#include "platform/stdiofile.h"
#include "tools/xse/utctime.h"

namespace xsetool {
namespace {

constexpr size_t kWord = 4;
constexpr size_t kFileBuffer = size_t{1} << 20;
constexpr auto kFlushEvery = std::chrono::seconds(1);

// "20241124-123607" for the UTC second of `when`.
std::string FileStem(SessionRecorder::Clock::time_point when) {
  const auto seconds =
      std::chrono::duration_cast<std::chrono::seconds>(when.time_since_epoch()).count();
  const std::string iso = FormatUtc({static_cast<int32_t>(seconds), 0});  // 2024-11-24T12:36:07
  return iso.substr(0, 4) + iso.substr(5, 2) + iso.substr(8, 2) + "-" + iso.substr(11, 2) +
         iso.substr(14, 2) + iso.substr(17, 2);
}

}  // namespace

SessionRecorder::~SessionRecorder() {
  if (file_ != nullptr) std::fclose(file_);
}

std::string SessionRecorder::currentFile() const {
  std::lock_guard<std::mutex> lock(nameMutex_);
  return shownName_;
}

bool SessionRecorder::Fail(const std::string& path) {
  if (error_.empty()) error_ = "cannot write " + path + ": " + platform::ErrorText(errno);
  return false;
}

bool SessionRecorder::Take(std::span<const uint8_t> bytes, Clock::time_point now) {
  if (!error_.empty()) return false;
  held_.insert(held_.end(), bytes.begin(), bytes.end());
  size_t done = 0;
  bool ok = true;
  // Consumed from the front in place; the bytes are dropped once, at the end.
  while (ok) {
    const std::span<const uint8_t> held(held_.data() + done, held_.size() - done);
    const size_t at = elac::FindFrameStart(held);
    if (at > 0) {
      ok = Write(held.first(at), now);
      done += at;
      continue;
    }
    const std::optional<std::endian> order = elac::FrameByteOrder(held);
    elac::ByteCursor envelope(held, order.value_or(std::endian::big));
    uint32_t size = 0;
    if (!order || !envelope.Skip(kWord) || !envelope.Read(size)) break;
    const size_t needed =
        size > elac::kMaxFrameBodySize ? kWord : elac::kFrameEnvelopeSize + size + kWord;
    if (held.size() < needed) break;
    // A frame start, whole: the one place a file may be cut.
    if (needed > kWord && RotationDue(now)) ok = Close();
    ok = ok && Write(held.first(needed), now);
    if (needed > kWord) frames_.fetch_add(1, std::memory_order_relaxed);
    done += needed;
  }
  held_.erase(held_.begin(), held_.begin() + static_cast<std::ptrdiff_t>(done));
  return ok && Tick(now);
}

bool SessionRecorder::RotationDue(Clock::time_point now) const {
  if (file_ == nullptr || fileBytes_ == 0) return false;
  if (rules_.rotateBytes > 0 && fileBytes_ >= rules_.rotateBytes) return true;
  return rules_.rotateMs > 0 && now - opened_ >= std::chrono::milliseconds(rules_.rotateMs);
}

bool SessionRecorder::Open(Clock::time_point now) {
  const std::string stem = folder_ + "/" + FileStem(now);
  path_ = stem + ".xse";
  // Two files begun in one second: the later ones get a number, which
  // sorts them after the first ('_' comes after '.') and in order.
  for (int n = 2; std::filesystem::exists(platform::PathFromUtf8(path_)); ++n) {
    char number[16];
    std::snprintf(number, sizeof number, "_%03d", n);
    path_ = stem + number + ".xse";
  }
  file_ = platform::OpenStdioFile(path_ + ".part", "wb");
  if (file_ == nullptr) return Fail(path_ + ".part");
  std::setvbuf(file_, nullptr, _IOFBF, kFileBuffer);
  fileBytes_ = 0;
  opened_ = flushed_ = now;
  std::lock_guard<std::mutex> lock(nameMutex_);
  shownName_ = std::filesystem::path(platform::PathFromUtf8(path_)).filename().string();
  return true;
}

bool SessionRecorder::Write(std::span<const uint8_t> bytes, Clock::time_point now) {
  if (bytes.empty()) return true;
  if (file_ == nullptr && !Open(now)) return false;
  if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) return Fail(path_);
  fileBytes_ += bytes.size();
  bytes_.fetch_add(bytes.size(), std::memory_order_relaxed);
  return true;
}

bool SessionRecorder::Tick(Clock::time_point now) {
  if (file_ == nullptr || now - flushed_ < kFlushEvery) return error_.empty();
  flushed_ = now;
  if (std::fflush(file_) != 0) return Fail(path_);
  return error_.empty();
}

bool SessionRecorder::Close() {
  if (file_ == nullptr) return true;
  const bool flushed = std::fflush(file_) == 0;
  const int error = errno;
  std::fclose(file_);
  file_ = nullptr;
  if (!flushed) {
    errno = error;
    return Fail(path_);
  }
  // A file a write failed in may end inside a frame: it keeps its
  // temporary name.
  if (!error_.empty()) return false;
  std::error_code failed;
  std::filesystem::rename(platform::PathFromUtf8(path_ + ".part"), platform::PathFromUtf8(path_),
                          failed);
  if (failed) {
    if (error_.empty()) error_ = "cannot write " + path_ + ": " + failed.message();
    return false;
  }
  return true;
}

bool SessionRecorder::Finish(Clock::time_point now) {
  const bool wrote = error_.empty() && Write(held_, now);
  held_.clear();
  return Close() && wrote;
}

}  // namespace xsetool
