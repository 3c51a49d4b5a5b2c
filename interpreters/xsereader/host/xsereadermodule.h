// The host's handle on the plug-in module: loads it, looks up every entry
// point it exports, and unloads it. Objects made through the entry points
// must be destroyed before Unload.
#pragma once

#include <string>

#include "interpreters/xsereader/xsereaderapi.h"
#include "platform/dynamiclibrary.h"

struct XseReaderEntryPoints {
  decltype(&XSEReaderModuleEntry) moduleEntry = nullptr;
  decltype(&CreateXSEReader) createReader = nullptr;
  decltype(&DestroyXSEReader) destroyReader = nullptr;
  decltype(&XSEReaderCanReadFile) canReadFile = nullptr;
  decltype(&CreateXSEProperties) createProperties = nullptr;
  decltype(&DestroyXSEProperties) destroyProperties = nullptr;
  decltype(&XSEReaderSetupProperties) setupProperties = nullptr;
  decltype(&XSEReaderConvertTime) convertTime = nullptr;
  decltype(&XSEReaderSetRecordTap) setRecordTap = nullptr;
  decltype(&XSEReaderLiveCounts) liveCounts = nullptr;
  decltype(&XSEReaderSetPassCallback) setPassCallback = nullptr;
  decltype(&XSEReaderSetDeadAfter) setDeadAfter = nullptr;
  decltype(&CreateElacSettingsDlg) createSettingsPage = nullptr;
  decltype(&DestroyElacSettingsDlg) destroySettingsPage = nullptr;
};

class XseReaderModule {
 public:
  XseReaderModule() = default;
  XseReaderModule(const XseReaderModule&) = delete;
  XseReaderModule& operator=(const XseReaderModule&) = delete;
  ~XseReaderModule() { Unload(); }

  // Where the module is found: $XSE_READER_MODULE when set, else
  // "xsereader.so" ("xsereader.dll" on Windows) beside the running program
  // when there is one, else the module of this build.
  static std::string DefaultPath();

  // Loads the module at `path` (which runs its start-up) and looks up its
  // entry points. False, with nothing loaded, when the file does not load
  // or lacks one of them; error() tells why.
  bool Load(const std::string& path);
  // Unloads the module (which runs its shut-down).
  void Unload();
  bool IsLoaded() const { return library_.IsOpen(); }

  const XseReaderEntryPoints& entry() const { return entry_; }
  const std::string& error() const { return error_; }

 private:
  platform::DynamicLibrary library_;
  XseReaderEntryPoints entry_;
  std::string error_;
};
