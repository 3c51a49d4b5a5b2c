// The decoder side: a sonar-format decoder that turns frames into records
// and hands them to its ISurveyTarget. Slot order is fixed.
#pragma once

#include <cstdint>
#include <istream>

namespace quor {

struct ReservedArg;

class ISurveyReader {
 public:
  // clang-format off
  virtual ~ISurveyReader() = default;                                        // slot 0
  // Decodes the frame at `bytes`; at most `length` bytes are looked at.
  virtual bool DecodeBuffer(const uint8_t* bytes, uint32_t length) = 0;      // slot 1
  // Decodes one complete frame held in memory (its size is read from it).
  virtual bool DecodeFrame(const uint8_t* frame) = 0;                        // slot 2
  // Finds, reads and decodes the next frame of a binary byte stream.
  virtual bool ReadFrame(std::istream& stream) = 0;                          // slot 3
  virtual void ReaderSlot4(const ReservedArg& /*unused*/) {}                 // slot 4
  virtual void ReaderSlot5(const ReservedArg& /*unused*/) {}                 // slot 5
  // clang-format on

 protected:
  ISurveyReader() = default;
  ISurveyReader(const ISurveyReader&) = default;
  ISurveyReader& operator=(const ISurveyReader&) = default;
};

}  // namespace quor
