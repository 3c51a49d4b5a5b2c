// Parameter-frame groups: the installation decoder (draft 1, installation 9
// and 8) and the device decoder (device list 4, transducer mounting 10,
// device status 11), one ParameterRec per sensor.
//
// Conversions: angles radians to degrees, the first lever-arm coordinate
// changes sign, a delay in seconds becomes whole milliseconds rounded half
// away from zero (a delay that is NaN gives 0, one beyond the int32 range
// saturates).
#pragma once

#include <cstddef>
#include <vector>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "xsereader/surveyrecords.h"

namespace elac {

enum ParameterGroupType : uint32_t {
  kDraftGroup = 1,
  kDeviceListGroup = 4,
  kTransducerInstallationGroup = 8,
  kInstallationGroup = 9,
  kMountingGroup = 10,
  kDeviceStatusGroup = 11,
};

// The most device records a frame holds. A sonar has a handful of devices;
// the limit keeps a damaged count from turning into hundreds of megabytes of
// records (one is about 400 bytes), and sizes the per-group table of
// mounted elements, so that table can never be overrun.
inline constexpr size_t kMaxDeviceRecords = 1024;

// Fills `immediateParams`; the caller hands every element to the target
// right after a group that decoded. Only exact group sizes are accepted:
// draft G = L + 56, installation 9 G = 92, installation 8 G = 76. A draft
// rewrites the first element (created when there is none); an installation
// group replaces the whole sequence. False, with nothing changed, for any
// other group.
[[nodiscard]] bool DecodeInstallationGroup(ByteCursor body,
                                           std::vector<quor::ParameterRec>& immediateParams);

// Fills `frameParams`; the caller hands every element to the target after
// the frame's last group. Counts are checked against the group before
// anything changes: a device list, mounting or status group whose entries
// run past the group is rejected whole (false, nothing changed), and so is
// a device list or mounting group of more than kMaxDeviceRecords entries.
// A mounting entry that repeats an identifier appends a copy of the element
// it finds; at kMaxDeviceRecords elements such an entry is ignored instead,
// and elements beyond that count take no part in the match.
[[nodiscard]] bool DecodeDeviceGroup(ByteCursor body, std::vector<quor::ParameterRec>& frameParams);

}  // namespace elac
