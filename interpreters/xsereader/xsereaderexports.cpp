// The module's C entry points for the host (see xsereaderapi.h).
#include <new>
#include <string>

#include "interpreters/xsereader/xsereaderapi.h"
#include "interpreters/xsereader/xsereaderapp.h"
#include "interpreters/xsereader/zelacsettingsdlg.h"
#include "interpreters/xsereader/zxsereader.h"

extern "C" {

CReader* CreateXSEReader(int32_t hostValue) {
  if (!xsereader::ModuleAttached()) return nullptr;
  return new (std::nothrow) ZXSEReader(hostValue);
}

void DestroyXSEReader(CReader* reader) { delete reader; }

int32_t XSEReaderCanReadFile(const char* fileName, int32_t extensionCheck) {
  if (fileName == nullptr) return 0;
  return ZXSEReader::sCanReadFile(std::string(fileName), extensionCheck);
}

CReader::Properties* CreateXSEProperties() {
  if (!xsereader::ModuleAttached()) return nullptr;
  return new (std::nothrow) ZXSEReader::XSEProperties();
}

void DestroyXSEProperties(CReader::Properties* properties) { delete properties; }

void XSEReaderSetupProperties(CReader* reader, const CReader::Properties* properties) {
  auto* xseReader = dynamic_cast<ZXSEReader*>(reader);
  if (xseReader == nullptr) return;
  // A null or foreign properties object changes nothing, as a null one does.
  xseReader->SetupProperties(dynamic_cast<const ZXSEReader::XSEProperties*>(properties));
}

int32_t XSEReaderConvertTime(const CReader* reader, const quor::SensorRec* record) {
  const auto* xseReader = dynamic_cast<const ZXSEReader*>(reader);
  if (xseReader == nullptr || record == nullptr) return 0;
  return xseReader->ConvertTime(*record);
}

void XSEReaderSetRecordTap(CReader* reader, quor::ISurveyTarget* tap, int32_t headMode) {
  auto* xseReader = dynamic_cast<ZXSEReader*>(reader);
  if (xseReader != nullptr) xseReader->SetRecordTap(tap, headMode);
}

void XSEReaderSetPassCallback(CReader* reader, void (*onPass)(void* context), void* context) {
  auto* xseReader = dynamic_cast<ZXSEReader*>(reader);
  if (xseReader != nullptr) xseReader->SetPassCallback(onPass, context);
}

void XSEReaderSetDeadAfter(CReader* reader, uint32_t seconds) {
  auto* xseReader = dynamic_cast<ZXSEReader*>(reader);
  if (xseReader != nullptr) xseReader->SetDeadAfter(seconds);
}

void XSEReaderLiveCounts(const CReader* reader, uint64_t* bytes, uint64_t* frames) {
  const auto* xseReader = dynamic_cast<const ZXSEReader*>(reader);
  if (bytes != nullptr) *bytes = xseReader != nullptr ? xseReader->liveBytes() : 0;
  if (frames != nullptr) *frames = xseReader != nullptr ? xseReader->liveFrames() : 0;
}

platform::CPropertyPage* CreateElacSettingsDlg(CReader* reader) {
  if (!xsereader::ModuleAttached()) return nullptr;
  return new (std::nothrow) ZElacSettingsDlg(dynamic_cast<ZXSEReader*>(reader));
}

void DestroyElacSettingsDlg(platform::CPropertyPage* page) { delete page; }

}  // extern "C"
