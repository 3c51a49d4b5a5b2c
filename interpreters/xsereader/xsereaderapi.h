// What the module exports, as a host sees it. A class cannot be looked up
// by name in a loaded library, so the module hands out its objects through
// these C functions; the objects themselves are used through the host's
// classes (CReader, CReader::Properties, platform::CPropertyPage). Objects
// made by the module are destroyed by it, before it is unloaded.
#pragma once

#include <cstdint>

#include "platform/framework/propertypage.h"
#include "platform/hostreader/creader.h"
#include "platform/sharedapi.h"
#include "xsereader/isurveytarget.h"
#include "xsereader/surveyrecords.h"

// Reasons the module entry is called with.
inline constexpr uint32_t kModuleProcessDetach = 0;
inline constexpr uint32_t kModuleProcessAttach = 1;
inline constexpr uint32_t kModuleThreadAttach = 2;
inline constexpr uint32_t kModuleThreadDetach = 3;

extern "C" {

// The module entry: the module's own loader calls it with reason 1 when the
// module is loaded and 0 when it is unloaded. Returns non-zero on success;
// other reasons change nothing and return 1.
XSE_SHARED_API int32_t XSEReaderModuleEntry(const void* module, uint32_t reason, void* reserved);

// A new ZXSEReader, or null when the module did not start up or memory ran
// out. Destroy it with DestroyXSEReader after its reader thread has ended.
XSE_SHARED_API CReader* CreateXSEReader(int32_t hostValue);
XSE_SHARED_API void DestroyXSEReader(CReader* reader);

// ZXSEReader::sCanReadFile: 1 when `fileName` holds XSE data.
XSE_SHARED_API int32_t XSEReaderCanReadFile(const char* fileName, int32_t extensionCheck);

// The reader's properties (ZXSEReader::XSEProperties).
XSE_SHARED_API CReader::Properties* CreateXSEProperties();
XSE_SHARED_API void DestroyXSEProperties(CReader::Properties* properties);
// ZXSEReader::SetupProperties; does nothing unless both come from this module.
XSE_SHARED_API void XSEReaderSetupProperties(CReader* reader,
                                             const CReader::Properties* properties);
// ZXSEReader::ConvertTime; 0 for a reader from elsewhere.
XSE_SHARED_API int32_t XSEReaderConvertTime(const CReader* reader, const quor::SensorRec* record);

// ZXSEReader::SetRecordTap: every record the reader decodes also goes to
// `tap` (null: none), and live runs take the heads `headMode` selects. Does
// nothing for a reader from elsewhere.
XSE_SHARED_API void XSEReaderSetRecordTap(CReader* reader, quor::ISurveyTarget* tap,
                                          int32_t headMode);

// ZXSEReader::SetPassCallback: in a live run, `onPass(context)` is called
// on the reader thread whenever a decoding pass consumed bytes, after the
// pass's records went to the tap (null: no call). Does nothing for a
// reader from elsewhere.
XSE_SHARED_API void XSEReaderSetPassCallback(CReader* reader, void (*onPass)(void* context),
                                             void* context);

// ZXSEReader::SetDeadAfter: a live run whose server has answered nothing,
// not even the system's probes, for `seconds` ends as failed (0: only the
// system's own limits). Does nothing for a reader from elsewhere.
XSE_SHARED_API void XSEReaderSetDeadAfter(CReader* reader, uint32_t seconds);

// What the last live run of `reader` came to, counted in 64 bits: the bytes
// its source consumed and the frames it decoded. Read after the reader
// thread has ended; both 0 for a reader from elsewhere.
XSE_SHARED_API void XSEReaderLiveCounts(const CReader* reader, uint64_t* bytes, uint64_t* frames);

// The settings page for `reader` (may be null).
XSE_SHARED_API platform::CPropertyPage* CreateElacSettingsDlg(CReader* reader);
XSE_SHARED_API void DestroyElacSettingsDlg(platform::CPropertyPage* page);

}  // extern "C"
