// ElacReader: the XSE decoder. It finds frames in a byte stream, checks
// their envelope, and decodes their groups into the survey records, which it
// hands to its target one by one. Every data source is also an ElacReader.
#pragma once

#include <bit>
#include <cstdint>
#include <istream>
#include <memory>
#include <optional>
#include <span>
#include <streambuf>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/elacreader/decodestatus.h"
#include "interpreters/surveyreaderlib/elacreader/readstatistics.h"
#include "interpreters/surveyreaderlib/elacreader/tracesink.h"
#include "interpreters/surveyreaderlib/isurveyreader.h"
#include "xsereader/isurveytarget.h"
#include "xsereader/surveyrecords.h"

class ElacReader : public quor::ISurveyReader {
 public:
  // Head selection for bathymetry pings.
  enum HeadMode : int32_t { kAllBeams = 0, kFirstHead = 1, kSecondHead = 2 };

  ElacReader();
  // `target` is not owned and may be null (records then go nowhere).
  ElacReader(quor::ISurveyTarget* target, int32_t mode);
  ElacReader(const ElacReader&) = delete;
  ElacReader& operator=(const ElacReader&) = delete;
  ~ElacReader() override;

  // Decodes the frame at `bytes`, looking at no more than `length` bytes of
  // it even when its size field claims more.
  [[nodiscard]] bool DecodeBuffer(const uint8_t* bytes, uint32_t length) override;
  // Decodes one complete frame; the caller vouches for 8 + S bytes.
  [[nodiscard]] bool DecodeFrame(const uint8_t* frame) override;
  // Searches the stream in 4-byte steps for the next frame start, checks
  // the end marker, reads the frame and decodes it. On success the stream
  // stands on the frame's end marker. Returns false at the end of the data,
  // on a stream error, on a wrong end marker (stream just behind the four
  // bytes that should have been it) and on a frame too large to be real
  // (stream just behind its size field). A frame that the stream's buffer
  // holds whole is decoded where it lies, without copying; what is consumed
  // is the same either way.
  bool ReadFrame(std::istream& stream) override;

  // Decodes the frame at the start of `bytes` (start marker, size, body)
  // without reading outside `bytes`. False when it is no frame: no start
  // marker, or too short for the frame header.
  [[nodiscard]] bool DecodeFrameBytes(std::span<const uint8_t> bytes);

  // Where the last ReadFrame found a frame start: `skipped` bytes after
  // where the stream stood, declaring `declaredSize` bytes from the start
  // marker to the end of the end marker (8 + S + 4; 0 when the size field
  // could not be read). Nothing when it found no frame start.
  struct FrameStart {
    uint64_t skipped = 0;
    uint64_t declaredSize = 0;
  };
  const std::optional<FrameStart>& lastFrameStart() const { return lastFrameStart_; }
  // Why the last ReadFrame that found a frame start decoded no frame
  // (kDecoded when it did, or found none).
  elac::DecodeStatus lastStatus() const { return lastStatus_; }

  int32_t mode() const { return mode_; }
  void SetMode(int32_t mode) { mode_ = mode; }
  std::endian byteOrder() const { return order_; }
  uint32_t frameBufferSize() const { return frameBufferSize_; }

  // Counts the frames this reader decodes and rejects into `statistics`
  // (not owned; null, the default, counts nothing).
  void SetStatistics(elac::ReadStatistics* statistics) { statistics_ = statistics; }
  // Sends the decoder's detail lines to `sink` (not owned; null, the
  // default, writes none).
  void SetTraceSink(elac::ITraceSink* sink) { traceSink_ = sink; }
  // Where in the data the stream stands at the next ReadFrame, so that
  // rejections are counted with their offsets (0 unless a source says).
  void SetReadOrigin(uint64_t origin) { readOrigin_ = origin; }

 protected:
  quor::ISurveyTarget& target() { return target_ != nullptr ? *target_ : nullTarget_; }

 private:
  void StartFrame(const quor::timeval& frameTime);
  // Each hands the group to the decoders of the frame's type and says what
  // became of it.
  elac::GroupStatus DispatchGroup(uint32_t frameType, elac::ByteCursor body, bool lastGroup);
  elac::GroupStatus DispatchNavigationGroup(elac::ByteCursor body);
  elac::GroupStatus DispatchParameterGroup(elac::ByteCursor body, bool lastGroup);
  elac::GroupStatus DispatchSidescanGroup(elac::ByteCursor body, bool lastGroup);
  elac::GroupStatus DispatchBathymetryGroup(elac::ByteCursor body, bool lastGroup);
  // Counts a group that starts `offsetInFrame` bytes into the frame being
  // decoded, for the frame types whose groups are decoded.
  void CountGroup(elac::GroupStatus status, uint32_t frameType, size_t offsetInFrame);
  [[nodiscard]] bool EnsureFrameBuffer(uint32_t size);
  // The frame whose start marker the buffer holds at its read position,
  // decoded where it lies; kNotHere, with nothing consumed, when the frame
  // is not wholly there or not sound.
  enum class InPlace : uint8_t { kDecoded, kShortFrame, kNotHere };
  [[nodiscard]] InPlace ReadFrameInPlace(std::streambuf& buffer);
  // The frame whose start marker was just consumed, through the stream's
  // read and seek operations.
  [[nodiscard]] elac::DecodeStatus ReadFrameCopying(std::istream& stream);
  // Counts a frame read or rejected; returns whether it was decoded.
  bool CountFrame(elac::DecodeStatus status, uint32_t frameSize);
  // One detail line "<what> <relTime>", when the sink wants it.
  void TraceRelTime(const char* what, int32_t relTime);

  quor::NullSurveyTarget nullTarget_;
  quor::ISurveyTarget* target_ = nullptr;
  int32_t mode_ = kAllBeams;
  std::endian order_ = std::endian::little;
  std::unique_ptr<uint8_t[]> frameBuffer_;
  uint32_t frameBufferSize_ = 0;
  std::vector<quor::ParameterRec> immediateParams_;
  std::vector<quor::ParameterRec> frameParams_;
  quor::NavigationRec navigation_;
  quor::GyroRec gyro_;
  quor::MotionRec motion_;
  quor::MultibeamRec multibeam_;
  quor::SidescanRec sidescan_;
  elac::ReadStatistics* statistics_ = nullptr;
  elac::ITraceSink* traceSink_ = nullptr;
  std::optional<FrameStart> lastFrameStart_;
  elac::DecodeStatus lastStatus_ = elac::DecodeStatus::kDecoded;
  uint64_t readOrigin_ = 0;
  bool pingHasBeams_ = false;  // a beam group of the frame was decoded
  size_t lastFrameSize_ = 0;   // of the frame ReadFrameCopying read
};
