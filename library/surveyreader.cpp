#include <array>
#include <tuple>
#include <utility>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacfile.h"
#include "interpreters/surveyreaderlib/elacreader/memorystream.h"
#include "xsereader/xsereader.h"

namespace xsereader {
namespace {

// Hands each record on to whichever target is reading at the moment, and
// counts them, so one decoder serves both ReadAll and Next.
class Forwarder final : public quor::RecordVisitor<Forwarder> {
 public:
  quor::ISurveyTarget* sink = nullptr;
  uint64_t delivered = 0;

  template <typename Record>
  void OnRecord(quor::RecordKind /*kind*/, const Record& record) {
    ++delivered;
    quor::Deliver(*sink, record);
  }
};

// Copies the records of one frame, for Next. The decoder reuses its records
// within a frame (several parameter records, two headings), so a reference
// would not do. Each kind has its own pool of records, kept from frame to
// frame, so a copy reuses the arrays of the record it overwrites: pulling a
// survey allocates nothing once the pools have grown.
class Queue final : public quor::RecordVisitor<Queue> {
 public:
  template <typename Record>
  void OnRecord(quor::RecordKind kind, const Record& record) {
    auto& pool = std::get<std::vector<Record>>(pools_);
    size_t& used = used_[static_cast<size_t>(kind)];
    if (used == pool.size()) {
      pool.push_back(record);
    } else {
      pool[used] = record;
    }
    order_.push_back({kind, used++});
  }

  size_t size() const { return order_.size(); }
  void Clear() {
    order_.clear();
    used_.fill(0);
  }
  // Hands the n-th record queued to `visit`, as its own type.
  template <typename Function>
  void Visit(size_t n, Function&& visit) const {
    const auto [kind, index] = order_[n];
    quor::WithRecordType(kind, [&, index = index](auto type) {
      visit(std::get<std::vector<typename decltype(type)::type>>(pools_)[index]);
    });
  }

 private:
  template <typename>
  struct PoolsOf;
  template <typename... Records>
  struct PoolsOf<std::tuple<Records...>> {
    using type = std::tuple<std::vector<Records>...>;
  };

  PoolsOf<quor::RecordTypes>::type pools_;
  std::array<size_t, quor::kAllRecordKinds.size()> used_{};
  std::vector<std::pair<quor::RecordKind, size_t>> order_;
};

Record Describe(const quor::timeval& r) {
  return {.kind = RecordKind::kStartTime, .startTime = &r};
}
Record Describe(const quor::ParameterRec& r) {
  return {.kind = RecordKind::kParameter, .parameter = &r};
}
Record Describe(const quor::NavigationRec& r) {
  return {.kind = RecordKind::kPosition, .position = &r};
}
Record Describe(const quor::GyroRec& r) { return {.kind = RecordKind::kGyro, .gyro = &r}; }
Record Describe(const quor::MotionRec& r) { return {.kind = RecordKind::kMotion, .motion = &r}; }
Record Describe(const quor::MultibeamRec& r) {
  return {.kind = RecordKind::kMultibeam, .multibeam = &r};
}
Record Describe(const quor::SidescanRec& r) {
  return {.kind = RecordKind::kSidescan, .sidescan = &r};
}

// Where a stream stands, without the sentry tellg builds: -1 once it failed.
std::streamoff StreamPosition(std::istream& stream) {
  if (stream.fail() || stream.rdbuf() == nullptr) return -1;
  return stream.rdbuf()->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
}

}  // namespace

const char* Version() { return XSEREADER_VERSION; }

std::optional<Heads> ParseHeads(std::string_view name) {
  if (name == "all") return Heads::kAll;
  if (name == "first") return Heads::kFirst;
  if (name == "second") return Heads::kSecond;
  return std::nullopt;
}

struct SurveyReader::Impl {
  Forwarder forwarder;
  Queue queue;
  size_t nextQueued = 0;
  Record current;
  // A file source, or a plain decoder over `stream`.
  std::unique_ptr<ElacFile> file;
  std::unique_ptr<ElacReader> decoder;
  std::unique_ptr<elac::MemoryStream> memory;
  std::istream* stream = nullptr;
  uint64_t size = 0;
  uint64_t consumed = 0;
  bool ended = false;

  // Decodes the next frame into the forwarder's sink; false at the end of
  // the data. Ends where the file source's loop ends, so a damaged file
  // gives the records the tool gives.
  bool Step() {
    if (ended) return false;
    int32_t processed = 0;
    if (file) {
      ended = !file->receiveData(processed, 0);
    } else if (stream->eof()) {
      ended = true;
    } else {
      const std::streamoff before = StreamPosition(*stream);
      decoder->ReadFrame(*stream);
      const std::streamoff after = StreamPosition(*stream);
      ended = before < 0 || after <= before;
      if (!ended)
        processed = static_cast<int32_t>(std::min<std::streamoff>(after - before, INT32_MAX));
    }
    if (processed > 0) consumed += static_cast<uint64_t>(processed);
    return !ended;
  }

  // Delivers what Next copied but did not return yet.
  void DrainQueue(quor::ISurveyTarget& target) {
    for (; nextQueued < queue.size(); ++nextQueued)
      queue.Visit(nextQueued, [&target](const auto& record) { quor::Deliver(target, record); });
  }
};

SurveyReader::SurveyReader(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
SurveyReader::~SurveyReader() = default;

std::unique_ptr<SurveyReader> SurveyReader::OpenFile(const std::string& path, Heads heads,
                                                     std::string* error) {
  auto impl = std::make_unique<Impl>();
  impl->file = std::make_unique<ElacFile>(&impl->forwarder);
  impl->file->SetMode(static_cast<int32_t>(heads));
  if (!impl->file->Open(path.c_str())) {
    if (error != nullptr) *error = impl->file->OpenFailure();
    return nullptr;
  }
  impl->size = impl->file->size64();
  return std::unique_ptr<SurveyReader>(new SurveyReader(std::move(impl)));
}

std::unique_ptr<SurveyReader> SurveyReader::OpenBytes(std::span<const uint8_t> bytes, Heads heads) {
  auto memory = std::make_unique<elac::MemoryStream>(bytes);
  auto reader = OpenStream(*memory, heads);
  reader->impl_->memory = std::move(memory);
  reader->impl_->size = bytes.size();
  return reader;
}

std::unique_ptr<SurveyReader> SurveyReader::OpenStream(std::istream& stream, Heads heads) {
  auto impl = std::make_unique<Impl>();
  impl->decoder = std::make_unique<ElacReader>(&impl->forwarder, static_cast<int32_t>(heads));
  impl->stream = &stream;
  return std::unique_ptr<SurveyReader>(new SurveyReader(std::move(impl)));
}

void SurveyReader::ReadAll(quor::ISurveyTarget& target) {
  impl_->DrainQueue(target);
  impl_->forwarder.sink = &target;
  while (impl_->Step()) {
  }
}

bool SurveyReader::ReadFrame(quor::ISurveyTarget& target) {
  if (impl_->nextQueued < impl_->queue.size()) {
    impl_->DrainQueue(target);
    return true;
  }
  impl_->forwarder.sink = &target;
  const uint64_t before = impl_->forwarder.delivered;
  while (impl_->forwarder.delivered == before) {
    // The last step may deliver records and meet the end in one go.
    if (!impl_->Step()) return impl_->forwarder.delivered != before;
  }
  return true;
}

const Record* SurveyReader::Next() {
  Impl& impl = *impl_;
  if (impl.nextQueued >= impl.queue.size()) {
    impl.queue.Clear();
    impl.nextQueued = 0;
    impl.forwarder.sink = &impl.queue;
    while (impl.queue.size() == 0) {
      if (!impl.Step() && impl.queue.size() == 0) return nullptr;
    }
  }
  impl.queue.Visit(impl.nextQueued++,
                   [&impl](const auto& record) { impl.current = Describe(record); });
  return &impl.current;
}

uint64_t SurveyReader::size() const { return impl_->size; }
uint64_t SurveyReader::consumed() const { return impl_->consumed; }

}  // namespace xsereader
