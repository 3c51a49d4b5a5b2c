// Sidescan groups (types 1, 2, 9) into the one SidescanRec of the decoder.
#pragma once

#include "interpreters/surveyreaderlib/elacreader/bytecursor.h"
#include "interpreters/surveyreaderlib/surveyrecords.h"

namespace elac {

// Returns false only for an empty body (a group of size 0); every other
// group, known or not, is accepted so that the frame's last-group handling
// still runs for it.
bool DecodeSidescanGroup(ByteCursor body, quor::SidescanRec& sidescan);

}  // namespace elac
