#include "interpreters/surveyreaderlib/elacreader/elacreader.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include "interpreters/surveyreaderlib/elacreader/beamdecoder.h"
#include "interpreters/surveyreaderlib/elacreader/frameenvelope.h"
#include "interpreters/surveyreaderlib/elacreader/framesearch.h"
#include "interpreters/surveyreaderlib/elacreader/navigationdecoder.h"
#include "interpreters/surveyreaderlib/elacreader/parameterdecoder.h"
#include "interpreters/surveyreaderlib/elacreader/sidescandecoder.h"
#include "interpreters/surveyreaderlib/elacreader/streamgetarea.h"
#include "interpreters/surveyreaderlib/elacreader/xseformat.h"

using elac::ByteCursor;

namespace {

using elac::FrameByteOrder;

// Counts are frame sizes, far below the limits of a 32-bit streamsize.
bool ReadExactly(std::istream& stream, uint8_t* into, size_t count) {
  stream.read(reinterpret_cast<char*>(into), static_cast<std::streamsize>(count));
  return stream.gcount() == static_cast<std::streamsize>(count);
}

// Whether frames of `frameType` have groups of `groupType`: the group types
// their decoders know.
bool IsKnownGroup(uint32_t frameType, uint32_t groupType) {
  switch (frameType) {
    case elac::kNavigationFrame:
      return groupType == elac::kPositionGroup || groupType == elac::kNavigationHeadingGroup ||
             groupType == elac::kAttitudeGroup;
    case elac::kParameterFrame:
      return groupType == elac::kDraftGroup || groupType == elac::kDeviceListGroup ||
             groupType == elac::kTransducerInstallationGroup ||
             groupType == elac::kInstallationGroup || groupType == elac::kMountingGroup ||
             groupType == elac::kDeviceStatusGroup;
    case elac::kSidescanFrame:
      return groupType == elac::kSidescanPingGroup || groupType == elac::kSidescanSamplesGroup ||
             groupType == elac::kSidescanGainGroup;
    case elac::kBathymetryFrame:
      switch (groupType) {
        case elac::kPingNumberGroup:
        case elac::kBeamCountGroup:
        case elac::kTravelTimeGroup:
        case elac::kQualityGroup:
        case elac::kAcrossTrackGroup:
        case elac::kAlongTrackGroup:
        case elac::kDepthGroup:
        case elac::kAcrossAngleGroup:
        case elac::kAlongAngleGroup:
        case elac::kSoundVelocityGroup:
        case elac::kBathymetryHeadingGroup:
          return true;
        default:
          return false;
      }
    default:
      return false;
  }
}

// Why a decoder did not take a group of a frame of `frameType`: its type
// is not the frame's, or it is and the group could not be used.
elac::GroupStatus NotTaken(uint32_t frameType, ByteCursor body) {
  uint32_t groupType = 0;
  if (!body.Read(groupType) || IsKnownGroup(frameType, groupType))
    return elac::GroupStatus::kUnusable;
  return elac::GroupStatus::kUnknownType;
}

}  // namespace

ElacReader::ElacReader() = default;

ElacReader::ElacReader(quor::ISurveyTarget* target, int32_t mode) : target_(target), mode_(mode) {}

ElacReader::~ElacReader() = default;

bool ElacReader::DecodeBuffer(const uint8_t* bytes, uint32_t length) {
  if (bytes == nullptr) return false;
  return DecodeFrameBytes({bytes, length});
}

bool ElacReader::DecodeFrame(const uint8_t* frame) {
  if (frame == nullptr) return false;
  // The caller vouches for 8 + S bytes; a size beyond any real frame is
  // still not trusted that far.
  const elac::FrameEnvelope envelope = elac::ParseEnvelope({frame, elac::kFrameEnvelopeSize});
  if (envelope.status != elac::EnvelopeStatus::kIncomplete) return false;
  return DecodeFrameBytes({frame, envelope.FrameSize()});
}

void ElacReader::TraceRelTime(const char* what, int32_t relTime) {
  if (traceSink_ == nullptr || !traceSink_->WantsDetail()) return;
  char line[64];
  std::snprintf(line, sizeof line, "%s %ld", what, static_cast<long>(relTime));
  traceSink_->WriteDetail(line);
}

bool ElacReader::EnsureFrameBuffer(uint32_t size) {
  if (frameBufferSize_ >= size) return true;
  frameBuffer_.reset();
  frameBufferSize_ = 0;
  frameBuffer_.reset(new (std::nothrow) uint8_t[size]);
  if (!frameBuffer_) return false;
  frameBufferSize_ = size;
  return true;
}

bool ElacReader::ReadFrame(std::istream& stream) {
  lastFrameStart_.reset();
  lastStatus_ = elac::DecodeStatus::kDecoded;
  // Any stream error ends the search, not only the end of the data.
  if (!stream.good()) return false;
  const auto found = elac::SeekFrameStart(stream);
  if (!found) return false;
  order_ = found->order;
  lastFrameStart_ = FrameStart{found->skipped, 0};
  // Most frames lie whole in the stream's buffer and are decoded where they
  // lie. The rest, and everything unusual, take the copying path.
  if (!found->markerConsumed) {
    const InPlace read = ReadFrameInPlace(*stream.rdbuf());
    if (read == InPlace::kDecoded) return true;
    if (read == InPlace::kShortFrame) return false;
    elac::StreamGetArea::Consume(*stream.rdbuf(), 4);
  }
  // Copied first: the size is the one this frame leaves behind.
  const elac::DecodeStatus status = ReadFrameCopying(stream);
  return CountFrame(status, static_cast<uint32_t>(lastFrameSize_));
}

ElacReader::InPlace ElacReader::ReadFrameInPlace(std::streambuf& buffer) {
  // The buffer holds at least the start marker, which the search found.
  const std::span<const uint8_t> bytes = elac::StreamGetArea::Of(buffer);
  const elac::FrameEnvelope envelope = elac::ParseEnvelope(bytes);
  if (envelope.status == elac::EnvelopeStatus::kNoSize) return InPlace::kNotHere;
  lastFrameStart_->declaredSize = envelope.SizeWithEnd();
  // A frame that is damaged, too large or not wholly in the buffer is left
  // to the copying path, which knows what each failure consumes.
  if (envelope.status != elac::EnvelopeStatus::kWhole) return InPlace::kNotHere;
  const auto frameSize = static_cast<uint32_t>(envelope.FrameSize());
  // The frame buffer still grows to the largest frame seen, so that a frame
  // which straddles the end of the stream's buffer later is copied without
  // allocating.
  if (!EnsureFrameBuffer(frameSize)) return InPlace::kNotHere;

  const bool decoded = DecodeFrameBytes(bytes.first(frameSize));
  elac::StreamGetArea::Consume(buffer, frameSize);  // stands on the end marker
  return CountFrame(decoded ? elac::DecodeStatus::kDecoded : elac::DecodeStatus::kShortFrame,
                    frameSize)
             ? InPlace::kDecoded
             : InPlace::kShortFrame;
}

elac::DecodeStatus ElacReader::ReadFrameCopying(std::istream& stream) {
  using elac::DecodeStatus;
  // The start marker has been consumed; from here on a failure is a frame
  // start that led to no frame.
  lastFrameSize_ = 0;
  uint8_t header[elac::kFrameEnvelopeSize];
  const auto marker = elac::FrameStartBytes(order_);
  std::copy(marker.begin(), marker.end(), header);
  if (!ReadExactly(stream, header + 4, 4)) return DecodeStatus::kTruncated;
  const elac::FrameEnvelope envelope = elac::ParseEnvelope(header);
  lastFrameStart_->declaredSize = envelope.SizeWithEnd();
  if (envelope.status == elac::EnvelopeStatus::kTooLarge) return DecodeStatus::kSizeOverLimit;
  const uint32_t size = envelope.bodySize;
  const auto frameSize = static_cast<uint32_t>(envelope.FrameSize());

  uint8_t word[4];
  if (frameBufferSize_ >= frameSize) {
    // Read straight on and check the end marker afterwards: a buffered
    // stream then never drops what it holds to look ahead and come back.
    // (Only into a buffer already this large: a damaged size must not make
    // the reader allocate.)
    std::copy(header, header + sizeof header, frameBuffer_.get());
    if (!ReadExactly(stream, frameBuffer_.get() + elac::kFrameEnvelopeSize, size) ||
        !ReadExactly(stream, word, 4))
      return DecodeStatus::kTruncated;
    if (!elac::IsFrameEnd(word, order_)) return DecodeStatus::kBadEndMarker;
    if (!stream.seekg(-4, std::ios_base::cur)) return DecodeStatus::kTruncated;
  } else {
    if (!stream.seekg(size, std::ios_base::cur) || !ReadExactly(stream, word, 4))
      return DecodeStatus::kTruncated;
    if (!elac::IsFrameEnd(word, order_)) return DecodeStatus::kBadEndMarker;
    // Back to the start marker, then the whole frame.
    const auto back = -static_cast<std::streamoff>(frameSize) - 4;
    if (!stream.seekg(back, std::ios_base::cur) || !EnsureFrameBuffer(frameSize) ||
        !ReadExactly(stream, frameBuffer_.get(), frameSize))
      return DecodeStatus::kTruncated;
  }
  lastFrameSize_ = frameSize;
  return DecodeFrameBytes({frameBuffer_.get(), frameSize}) ? DecodeStatus::kDecoded
                                                           : DecodeStatus::kShortFrame;
}

bool ElacReader::CountFrame(elac::DecodeStatus status, uint32_t frameSize) {
  lastStatus_ = status;
  const bool decoded = status == elac::DecodeStatus::kDecoded;
  if (statistics_ != nullptr) {
    if (decoded) {
      statistics_->frameBytes += uint64_t{frameSize} + 4;  // with the end marker
    } else {
      const uint64_t skipped = lastFrameStart_ ? lastFrameStart_->skipped : 0;
      statistics_->Reject(status, readOrigin_ + skipped);
    }
  }
  return decoded;
}

bool ElacReader::DecodeFrameBytes(std::span<const uint8_t> bytes) {
  const auto order = FrameByteOrder(bytes);
  if (!order) return false;
  order_ = *order;

  ByteCursor envelope(bytes, order_);
  uint32_t size = 0, frameType = 0, unused = 0, seconds = 0, microseconds = 0;
  envelope.Skip(4);
  if (!envelope.Read(size)) return false;
  // The frame ends at 8 + S or where the bytes end, whichever comes first.
  const size_t frameEnd =
      std::min<size_t>(bytes.size(), elac::kFrameEnvelopeSize + static_cast<size_t>(size));
  ByteCursor frame(bytes.first(frameEnd), order_);
  // A frame too short for its own header is no frame.
  if (!frame.Seek(elac::kFrameEnvelopeSize) || !frame.Read(frameType) || !frame.Read(unused) ||
      !frame.Read(seconds) || !frame.Read(microseconds))
    return false;

  if (statistics_ != nullptr) {
    ++statistics_->framesByType[elac::ReadStatistics::TypeSlot(frameType)];
    ++(order_ == std::endian::big ? statistics_->bigEndianFrames : statistics_->littleEndianFrames);
  }

  const quor::timeval frameTime = elac::ConvertXseTime(seconds, microseconds);
  if (elac::FrameHasStartTime(frameType)) target().HandleStartTime(frameTime);
  StartFrame(frameTime);

  // Groups are found by scanning every fourth byte from offset 8 for the
  // group start marker, so any number of header words may precede them.
  frame.Seek(elac::kFrameEnvelopeSize);
  for (;;) {
    uint32_t marker = 0;
    if (!frame.Read(marker)) return true;
    if (marker != elac::kGroupStart) continue;
    const size_t groupAt = frame.offset() - 4;
    uint32_t groupSize = 0;
    if (!frame.Read(groupSize)) return true;
    // Last group: its end marker takes the last four bytes before the frame
    // end marker, or it claims even more.
    const auto bytesToFrameEnd =
        static_cast<int64_t>(frameEnd) - 4 - static_cast<int64_t>(frame.offset());
    const bool lastGroup = static_cast<int64_t>(groupSize) >= bytesToFrameEnd;
    auto body = frame.Take(groupSize);
    if (!body) {
      // A group that claims to run past the frame is handled as an empty
      // group (which no decoder accepts) and ends the frame; what earlier
      // groups completed is still delivered.
      (void)DispatchGroup(frameType, ByteCursor({}, order_), true);
      CountGroup(elac::GroupStatus::kOverrunsFrame, frameType, groupAt);
      return true;
    }
    CountGroup(DispatchGroup(frameType, *body, lastGroup), frameType, groupAt);
    if (!frame.Skip(4)) return true;  // group end marker, not checked
  }
}

void ElacReader::StartFrame(const quor::timeval& frameTime) {
  auto reset = [&frameTime](quor::SensorRec& record) {
    record.valid = 0;
    record.fieldMask = 0;
    record.time = frameTime;
    record.relTime = 0;
  };
  for (auto* params : {&immediateParams_, &frameParams_}) {
    params->resize(1);  // keeps capacity: no allocation once grown
    reset(params->front());
  }
  reset(navigation_);
  reset(gyro_);
  reset(motion_);
  reset(multibeam_);
  reset(sidescan_);
  multibeam_.fieldMask |= quor::MultibeamRec::kFrameStarted;
  pingHasBeams_ = false;
}

void ElacReader::CountGroup(elac::GroupStatus status, uint32_t frameType, size_t offsetInFrame) {
  if (statistics_ == nullptr || !elac::FrameHasGroups(frameType)) return;
  const uint64_t frameAt = readOrigin_ + (lastFrameStart_ ? lastFrameStart_->skipped : 0);
  statistics_->CountGroup(status, frameAt + offsetInFrame);
}

elac::GroupStatus ElacReader::DispatchGroup(uint32_t frameType, ByteCursor body, bool lastGroup) {
  switch (frameType) {
    case elac::kNavigationFrame:
      return DispatchNavigationGroup(body);
    case elac::kParameterFrame:
      return DispatchParameterGroup(body, lastGroup);
    case elac::kSidescanFrame:
      return DispatchSidescanGroup(body, lastGroup);
    case elac::kBathymetryFrame:
      return DispatchBathymetryGroup(body, lastGroup);
    default:
      return elac::GroupStatus::kUnknownType;  // groups of other frame types are not decoded
  }
}

elac::GroupStatus ElacReader::DispatchNavigationGroup(ByteCursor body) {
  if (elac::DecodePosition(body, navigation_)) {
    target().HandlePosition(navigation_);
    TraceRelTime("NAVT", navigation_.relTime);
    return elac::GroupStatus::kDecoded;
  }
  if (elac::DecodeNavigationHeading(body, gyro_)) {
    target().HandleGyro(gyro_);
    TraceRelTime("GYRT", gyro_.relTime);
    return elac::GroupStatus::kDecoded;
  }
  if (elac::DecodeAttitude(body, motion_)) {
    target().HandleMotion(motion_);
    return elac::GroupStatus::kDecoded;
  }
  return NotTaken(elac::kNavigationFrame, body);
}

elac::GroupStatus ElacReader::DispatchParameterGroup(ByteCursor body, bool lastGroup) {
  bool decoded = false;
  if (elac::DecodeInstallationGroup(body, immediateParams_)) {
    decoded = true;
    for (const auto& record : immediateParams_) target().HandleParameter(record);
  } else if (elac::DecodeDeviceGroup(body, frameParams_)) {
    decoded = true;
  }
  if (lastGroup) {
    for (const auto& record : frameParams_) target().HandleParameter(record);
  }
  return decoded ? elac::GroupStatus::kDecoded : NotTaken(elac::kParameterFrame, body);
}

elac::GroupStatus ElacReader::DispatchSidescanGroup(ByteCursor body, bool lastGroup) {
  // The sidescan decoder accepts every group but an empty one, so that the
  // last group's delivery runs whatever it is; what it accepted without
  // using is told apart here only by its type.
  if (!elac::DecodeSidescanGroup(body, sidescan_)) return elac::GroupStatus::kUnusable;
  TraceRelTime("Sidescan reltime", sidescan_.relTime);
  if (lastGroup && sidescan_.valid == 1) {
    target().HandleSidescan(sidescan_);
    sidescan_.valid = 0;
    sidescan_.fieldMask = 0;
  }
  const elac::GroupStatus notTaken = NotTaken(elac::kSidescanFrame, body);
  return notTaken == elac::GroupStatus::kUnknownType ? notTaken : elac::GroupStatus::kDecoded;
}

elac::GroupStatus ElacReader::DispatchBathymetryGroup(ByteCursor body, bool lastGroup) {
  // The heading inside a ping is not a beam group: a ping whose groups are
  // headings only is not delivered.
  const bool beams = elac::DecodeBeamGroup(body, multibeam_);
  bool heading = false;
  if (beams) {
    pingHasBeams_ = true;
    TraceRelTime("MBET", multibeam_.relTime);
  } else if (elac::DecodeBathymetryHeading(body, gyro_)) {
    heading = true;
    // The heading inside a ping is told apart from the navigation heading
    // for the duration of the call only.
    gyro_.sensorIndex = 1;
    target().HandleGyro(gyro_);
    gyro_.sensorIndex = 0;
    TraceRelTime("GYRT", gyro_.relTime);
  }
  if (lastGroup && pingHasBeams_ && multibeam_.valid == 1) {
    elac::ApplyHeadSelection(multibeam_, mode_);
    target().HandleMultibeam(multibeam_);
  }
  return beams || heading ? elac::GroupStatus::kDecoded : NotTaken(elac::kBathymetryFrame, body);
}
