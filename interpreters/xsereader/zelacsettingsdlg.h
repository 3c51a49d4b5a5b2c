// The reader's settings page "Elac settings": intensity control (None,
// Manual, Automatic), lateral gain in dB/m and a mean value. The page holds
// the values for whoever shows it; the reader itself does not read them.
#pragma once

#include <cstdint>

#include "platform/framework/propertypage.h"

class ZXSEReader;

class ZElacSettingsDlg : public platform::CPropertyPage {
 public:
  // `reader` is the reader the page belongs to; not owned, may be null.
  explicit ZElacSettingsDlg(ZXSEReader* reader);
  ~ZElacSettingsDlg() override;

  // 0 None, 1 Manual, 2 Automatic; -1 after OK with no button checked.
  int32_t intensityControl() const { return intensityControl_; }
  float lateralGain() const { return lateralGain_; }
  int32_t meanValue() const { return meanValue_; }
  ZXSEReader* reader() const { return reader_; }

  // The values the page shows when it is opened next. No range is checked.
  void SetValues(int32_t intensityControl, float lateralGain, int32_t meanValue);

 protected:
  void DoDataExchange(platform::DataExchange& exchange) override;
  bool OnInitDialog() override;

 private:
  int32_t intensityControl_ = 0;
  float lateralGain_ = 0.0f;
  int32_t meanValue_ = 0;
  ZXSEReader* reader_;
};
