#include "interpreters/xsereader/zxsereader.h"

void ZXSEReader::XSEProperties::GetProperties(ZPropList& list) {
  list.Add("XSE", -1);
  CReader::Properties::GetProperties(list);
}

bool ZXSEReader::XSEProperties::PropertyHostSlot1(int32_t /*propertyId*/, int32_t /*value*/) {
  return true;
}

void ZXSEReader::XSEProperties::PropertyHostSlot2(int32_t /*propertyId*/) {}

bool ZXSEReader::XSEProperties::PropertyHostSlot4(int32_t /*propertyId*/) { return true; }
