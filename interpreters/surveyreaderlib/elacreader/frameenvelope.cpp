#include "interpreters/surveyreaderlib/elacreader/frameenvelope.h"

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/framesearch.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

namespace elac {

FrameEnvelope ParseEnvelope(std::span<const uint8_t> bytes) {
  FrameEnvelope envelope;
  const auto order = FrameByteOrder(bytes);
  if (!order) return envelope;
  envelope.order = *order;
  ByteCursor cursor(bytes, *order);
  envelope.status = EnvelopeStatus::kNoSize;
  if (!cursor.Skip(4) || !cursor.Read(envelope.bodySize)) return envelope;
  if (envelope.bodySize > kMaxFrameBodySize) {
    envelope.status = EnvelopeStatus::kTooLarge;
    return envelope;
  }
  uint32_t end = 0;
  if (!cursor.Skip(envelope.bodySize) || !cursor.Read(end)) {
    envelope.status = EnvelopeStatus::kIncomplete;
    return envelope;
  }
  envelope.status = end == kFrameEnd ? EnvelopeStatus::kWhole : EnvelopeStatus::kBadEnd;
  return envelope;
}

bool IsFrameEnd(std::span<const uint8_t> bytes, std::endian order) {
  ByteCursor cursor(bytes, order);
  uint32_t word = 0;
  return cursor.Read(word) && word == kFrameEnd;
}

std::span<const uint8_t, 4> FrameStartBytes(std::endian order) {
  static constexpr uint8_t kBig[4] = {'$', 'H', 'S', 'F'};
  static constexpr uint8_t kLittle[4] = {'F', 'S', 'H', '$'};
  return std::span<const uint8_t, 4>(order == std::endian::big ? kBig : kLittle);
}

}  // namespace elac
