#include <variant>
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

using OwnedRecord =
    std::variant<quor::timeval, quor::ParameterRec, quor::NavigationRec, quor::GyroRec,
                 quor::MotionRec, quor::MultibeamRec, quor::SidescanRec>;

// Copies the records of one frame, for Next. The decoder reuses its records
// within a frame (several parameter records, two headings), so a reference
// would not do.
class Queue final : public quor::RecordVisitor<Queue> {
 public:
  std::vector<OwnedRecord> records;

  template <typename Record>
  void OnRecord(quor::RecordKind /*kind*/, const Record& record) {
    records.emplace_back(record);
  }
};

void Deliver(const OwnedRecord& owned, quor::ISurveyTarget& target) {
  std::visit([&target](const auto& record) { quor::Deliver(target, record); }, owned);
}

Record Describe(const OwnedRecord& owned) {
  struct Visitor {
    Record operator()(const quor::timeval& r) const {
      return {.kind = RecordKind::kStartTime, .startTime = &r};
    }
    Record operator()(const quor::ParameterRec& r) const {
      return {.kind = RecordKind::kParameter, .parameter = &r};
    }
    Record operator()(const quor::NavigationRec& r) const {
      return {.kind = RecordKind::kPosition, .position = &r};
    }
    Record operator()(const quor::GyroRec& r) const {
      return {.kind = RecordKind::kGyro, .gyro = &r};
    }
    Record operator()(const quor::MotionRec& r) const {
      return {.kind = RecordKind::kMotion, .motion = &r};
    }
    Record operator()(const quor::MultibeamRec& r) const {
      return {.kind = RecordKind::kMultibeam, .multibeam = &r};
    }
    Record operator()(const quor::SidescanRec& r) const {
      return {.kind = RecordKind::kSidescan, .sidescan = &r};
    }
  };
  return std::visit(Visitor{}, owned);
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
    for (; nextQueued < queue.records.size(); ++nextQueued)
      Deliver(queue.records[nextQueued], target);
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
    if (error != nullptr) *error = impl->file->IsOpen() ? "file is empty" : impl->file->openError();
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
  if (impl_->nextQueued < impl_->queue.records.size()) {
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
  if (impl.nextQueued >= impl.queue.records.size()) {
    impl.queue.records.clear();
    impl.nextQueued = 0;
    impl.forwarder.sink = &impl.queue;
    while (impl.queue.records.empty()) {
      if (!impl.Step() && impl.queue.records.empty()) return nullptr;
    }
  }
  impl.current = Describe(impl.queue.records[impl.nextQueued++]);
  return &impl.current;
}

uint64_t SurveyReader::size() const { return impl_->size; }
uint64_t SurveyReader::consumed() const { return impl_->consumed; }

}  // namespace xsereader
