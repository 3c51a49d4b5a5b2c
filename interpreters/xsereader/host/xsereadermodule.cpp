#include "interpreters/xsereader/host/xsereadermodule.h"

#include <filesystem>

#include "platform/environment.h"
#include "platform/modulepath.h"
#include "platform/paths.h"

std::string XseReaderModule::DefaultPath() {
  const std::optional<std::string> configured =
      platform::GetEnvironmentVariable("XSE_READER_MODULE");
  if (configured && !configured->empty()) return *configured;
  const std::filesystem::path program = platform::ExecutablePath();
  if (!program.empty()) {
    const std::filesystem::path beside = program.parent_path() / "xsereader.so";
    if (platform::EntryExists(beside.parent_path().string(), beside.filename().string())) {
      return beside.string();
    }
  }
#ifdef XSE_INSTALLED_READER_MODULE
  if (!program.empty()) {
    const std::filesystem::path installed =
        (program.parent_path() / XSE_INSTALLED_READER_MODULE).lexically_normal();
    if (platform::EntryExists(installed.parent_path().string(), installed.filename().string())) {
      return installed.string();
    }
  }
#endif
  return XSE_BUILT_READER_MODULE;
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
