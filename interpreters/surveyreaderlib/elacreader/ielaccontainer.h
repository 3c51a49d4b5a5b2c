// IElacContainer: a source of XSE data that the plug-in drives. Every source
// is at the same time an ElacReader, which decodes what the source reads.
#pragma once

#include <cstdint>

class IElacContainer {
 public:
  // clang-format off
  virtual ~IElacContainer() = default;                                         // slot 0
  virtual bool Open(const char* /*name*/) { return false; }                    // slot 1
  // Slot 2 has no caller and no override; it only keeps the slots in place.
  virtual bool Unused2(int32_t /*first*/, int32_t /*second*/) { return false; }  // slot 2
  // Reads and decodes the next piece of data; `processed` gets the bytes it
  // consumed. `reserved` is not used.
  virtual bool receiveData(int32_t& processed, int32_t /*reserved*/) {         // slot 3
    processed = 0;
    return false;
  }
  virtual void Close() = 0;                                                    // slot 4
  // Size of the data in bytes, 0 when unknown.
  virtual uint32_t GetSize() { return 0; }                                     // slot 5
  virtual bool IsOpen() { return false; }                                      // slot 6
  // clang-format on

 protected:
  IElacContainer() = default;
  IElacContainer(const IElacContainer&) = default;
  IElacContainer& operator=(const IElacContainer&) = default;
};
