#include "interpreters/surveyreaderlib/elacreader/parameterdecoder.h"

namespace elac {

bool DecodeInstallationGroup(ByteCursor /*body*/,
                             std::vector<quor::ParameterRec>& /*immediateParams*/) {
  return false;
}

bool DecodeDeviceGroup(ByteCursor /*body*/, std::vector<quor::ParameterRec>& /*frameParams*/) {
  return false;
}

}  // namespace elac
