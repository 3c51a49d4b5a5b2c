// The live decoding pass against the file's: the input is a stream of
// frames cut into reads at sizes the fuzzer picks, and the records must be
// those of the whole stream read at once, in the same order. Decoding the
// rest at the end gives the file's statistics too: the same frames
// rejected, for the same reasons, at the same offsets. The last byte
// says how many read sizes (0 to 7) stand before it, two bytes each.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/elacreader.h"
#include "interpreters/surveyreaderlib/elacreader/livedecoder.h"
#include "interpreters/surveyreaderlib/elacreader/memorystream.h"
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"
#include "tests/support/recordfingerprint.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  const size_t cutCount = data[size - 1] % 8u;
  if (size < 1 + 2 * cutCount) return 0;
  std::vector<size_t> cuts;
  const uint8_t* cutBytes = data + size - 1 - 2 * cutCount;
  for (size_t i = 0; i < cutCount; ++i)
    cuts.push_back(1 + (size_t{cutBytes[2 * i]} | size_t{cutBytes[2 * i + 1]} << 8));
  if (cuts.empty()) cuts.push_back(1);
  const std::span<const uint8_t> stream(data, size - 1 - 2 * cutCount);

  xsetest::FingerprintTarget whole;
  ElacReader fileReader(&whole, ElacReader::kAllBeams);
  elac::ReadStatistics fileStatistics;
  fileReader.SetStatistics(&fileStatistics);
  elac::MemoryStream bytes(stream);
  // Every call consumes at least four bytes or ends the stream.
  for (size_t calls = 0; calls <= stream.size() / 4 + 1 && bytes.good(); ++calls) {
    fileReader.SetReadOrigin(static_cast<uint64_t>(bytes.tellg()));
    fileReader.ReadFrame(bytes);
  }

  xsetest::FingerprintTarget live;
  ElacReader reader(&live, ElacReader::kAllBeams);
  elac::ReadStatistics liveStatistics;
  reader.SetStatistics(&liveStatistics);
  elac::LiveDecoder decoder;
  size_t consumed = 0;
  for (size_t at = 0, cut = 0; at < stream.size(); ++cut) {
    const std::span<uint8_t> room = decoder.Room();
    if (room.empty()) std::abort();  // full with nothing it could decode
    const size_t count = std::min({cuts[cut % cuts.size()], room.size(), stream.size() - at});
    std::copy_n(stream.begin() + static_cast<ptrdiff_t>(at), count, room.begin());
    decoder.Commit(count);
    at += count;
    consumed += decoder.Decode(reader);
  }
  if (live.prints != whole.prints) std::abort();
  if (consumed + decoder.held() != stream.size()) std::abort();
  if (consumed + decoder.DecodeRest(reader) != stream.size()) std::abort();
  if (live.prints != whole.prints) std::abort();  // the rest never holds a whole frame
  const auto same = [](const elac::ReadStatistics& a, const elac::ReadStatistics& b) {
    return a.framesByType == b.framesByType && a.framesRejected == b.framesRejected &&
           a.rejectedByReason == b.rejectedByReason && a.firstRejectedAt == b.firstRejectedAt &&
           a.frameBytes == b.frameBytes && a.bigEndianFrames == b.bigEndianFrames &&
           a.littleEndianFrames == b.littleEndianFrames && a.groupsByStatus == b.groupsByStatus &&
           a.firstGroupAt == b.firstGroupAt;
  };
  if (!same(liveStatistics, fileStatistics)) std::abort();
  return 0;
}
