#include "interpreters/surveyreaderlib/elacreader/beamdecoder.h"

namespace elac {

bool DecodeBeamGroup(ByteCursor /*body*/, quor::MultibeamRec& /*multibeam*/) { return false; }

void ApplyHeadSelection(quor::MultibeamRec& /*multibeam*/, int32_t /*mode*/) {}

}  // namespace elac
