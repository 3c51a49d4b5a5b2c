// Parameter-frame groups: the installation decoder (draft 1, installation 9
// and 8) and the device decoder (device list 4, transducer mounting 10,
// device status 11).
#pragma once

#include <vector>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/surveyrecords.h"

namespace elac {

// Fills `immediateParams`; the caller hands every element to the target
// right after a group that decoded.
bool DecodeInstallationGroup(ByteCursor body, std::vector<quor::ParameterRec>& immediateParams);

// Fills `frameParams`; the caller hands every element to the target after
// the frame's last group.
bool DecodeDeviceGroup(ByteCursor body, std::vector<quor::ParameterRec>& frameParams);

}  // namespace elac
