// Bathymetry beam groups (types 1, 2, 3, 4, 7, 8, 9, 10, 13, 20) into the
// one MultibeamRec of the decoder, and the head selection applied before a
// ping is delivered.
#pragma once

#include <cstdint>

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/surveyrecords.h"

namespace elac {

// Returns true when `body` is a beam group it decoded; false for an empty
// body, another group type, or a group too short for what it declares.
bool DecodeBeamGroup(ByteCursor body, quor::MultibeamRec& multibeam);

// Head selection by `mode`: 0 all beams, 1 the first half, 2 the second half
// (moved to the front). Other modes deliver all beams.
void ApplyHeadSelection(quor::MultibeamRec& multibeam, int32_t mode);

}  // namespace elac
