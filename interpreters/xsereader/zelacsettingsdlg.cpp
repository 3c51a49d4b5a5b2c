#include "interpreters/xsereader/zelacsettingsdlg.h"

#include "interpreters/xsereader/xsereaderresources.h"

ZElacSettingsDlg::ZElacSettingsDlg(ZXSEReader* reader)
    : platform::CPropertyPage(xsereader::kIddElacSettings), reader_(reader) {}

ZElacSettingsDlg::~ZElacSettingsDlg() = default;

void ZElacSettingsDlg::SetValues(int32_t intensityControl, float lateralGain, int32_t meanValue) {
  intensityControl_ = intensityControl;
  lateralGain_ = lateralGain;
  meanValue_ = meanValue;
}

void ZElacSettingsDlg::DoDataExchange(platform::DataExchange& exchange) {
  platform::CPropertyPage::DoDataExchange(exchange);
  exchange.Radio(xsereader::kIdcIntensityNone, intensityControl_);
  exchange.Text(xsereader::kIdcLateralGain, lateralGain_);
  exchange.Text(xsereader::kIdcMeanValue, meanValue_);
}

bool ZElacSettingsDlg::OnInitDialog() {
  // The base moves the values into the controls; the framework sets the focus.
  platform::CPropertyPage::OnInitDialog();
  return true;
}
