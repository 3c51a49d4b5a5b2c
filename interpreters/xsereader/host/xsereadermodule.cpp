#include "interpreters/xsereader/host/xsereadermodule.h"

#include "platform/environment.h"
#include "platform/modulepath.h"

std::string XseReaderModule::DefaultPath() {
  const std::optional<std::string> configured =
      platform::GetEnvironmentVariable("XSE_READER_MODULE");
  if (configured && !configured->empty()) return *configured;
#ifdef XSE_INSTALLED_READER_MODULE
  const std::string installed = XSE_INSTALLED_READER_MODULE;
#else
  const std::string installed;
#endif
  return platform::FindModuleBesideProgram(platform::ModuleFileName("xsereader"), installed,
                                           XSE_BUILT_READER_MODULE);
}

bool XseReaderModule::Load(const std::string& path) {
  Unload();
  error_.clear();
  if (!library_.Open(path)) {
    error_ = library_.error();
    return false;
  }
  XseReaderEntryPoints found;
  bool complete = true;
  auto lookUp = [&](auto& function, const char* name) {
    function = library_.Function<std::remove_reference_t<decltype(function)>>(name);
    if (function == nullptr && complete) {
      error_ = path + ": no entry point " + name;
      complete = false;
    }
  };
  lookUp(found.moduleEntry, "XSEReaderModuleEntry");
  lookUp(found.createReader, "CreateXSEReader");
  lookUp(found.destroyReader, "DestroyXSEReader");
  lookUp(found.canReadFile, "XSEReaderCanReadFile");
  lookUp(found.createProperties, "CreateXSEProperties");
  lookUp(found.destroyProperties, "DestroyXSEProperties");
  lookUp(found.setupProperties, "XSEReaderSetupProperties");
  lookUp(found.convertTime, "XSEReaderConvertTime");
  lookUp(found.setRecordTap, "XSEReaderSetRecordTap");
  lookUp(found.liveCounts, "XSEReaderLiveCounts");
  lookUp(found.setPassCallback, "XSEReaderSetPassCallback");
  lookUp(found.setDeadAfter, "XSEReaderSetDeadAfter");
  lookUp(found.createSettingsPage, "CreateElacSettingsDlg");
  lookUp(found.destroySettingsPage, "DestroyElacSettingsDlg");
  if (!complete) {
    library_.Close();
    return false;
  }
  entry_ = found;
  return true;
}

void XseReaderModule::Unload() {
  entry_ = XseReaderEntryPoints{};
  library_.Close();
}
