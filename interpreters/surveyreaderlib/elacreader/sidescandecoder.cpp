#include "interpreters/surveyreaderlib/elacreader/sidescandecoder.h"

namespace elac {

bool DecodeSidescanGroup(ByteCursor /*body*/, quor::SidescanRec& /*sidescan*/) { return false; }

}  // namespace elac
