// Sidescan groups (types 1, 2, 9) into the one SidescanRec of the decoder.
//
// A samples group (type 2) lays out both sides in one array: the reverse of
// the group's first half, 2b zeros (b = the delay in samples, rounded), and
// the group's second half. The array is reused and grows only when a ping
// needs more room; the gain group (type 9) scales each half in place.
#pragma once

#include <cstdint>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "xsereader/surveyrecords.h"

namespace elac {

enum SidescanGroupType : uint32_t {
  kSidescanPingGroup = 1,
  kSidescanSamplesGroup = 2,
  kSidescanGainGroup = 9,
};

// The largest sample array a ping may ask for (both sides and the delay
// gap together). The delay is given in time and the interval may be tiny,
// so the gap alone could otherwise reach billions of samples. Real pings
// are some ten thousand samples a side; 2^20 floats cost 4 MiB.
inline constexpr uint32_t kMaxSidescanSamples = 1u << 20;

// Returns false only for an empty body (a group of size 0); every other
// group, known or not, is accepted so that the frame's last-group handling
// still runs for it. A known group that cannot be used is accepted like an
// unknown one and changes nothing: one too short for its fixed fields or
// its samples, a samples group with a sample interval of 0 (its delay in
// samples has no value), and one whose array would exceed
// kMaxSidescanSamples.
//
// An odd sample count N keeps every sample: the array and sampleCount are
// N + 2b, one more than the even formula 2 * (N / 2 + b) gives, the extra
// sample sitting with the group's first half (the end of the array), and
// the slant range still counts N / 2 + b samples.
[[nodiscard]] bool DecodeSidescanGroup(ByteCursor body, quor::SidescanRec& sidescan);

}  // namespace elac
