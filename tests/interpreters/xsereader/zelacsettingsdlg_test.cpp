#include "interpreters/xsereader/zelacsettingsdlg.h"

#include <gtest/gtest.h>

#include "interpreters/xsereader/xsereaderresources.h"
#include "platform/framework/resources.h"

namespace {

using namespace xsereader;

// The module's resources, registered the way the module does at load.
class SettingsPageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(platform::InitExtensionModule(module_, &module_, ModuleResources()));
    platform::AddToResourceChain(module_);
  }
  void TearDown() override { platform::TermExtensionModule(module_); }

 private:
  platform::ExtensionModule module_;
};

TEST_F(SettingsPageTest, FreshPageShowsNoneAndZeros) {
  ZElacSettingsDlg page(nullptr);
  ASSERT_TRUE(page.Create());
  EXPECT_TRUE(page.IsChecked(kIdcIntensityNone));
  EXPECT_FALSE(page.IsChecked(kIdcIntensityManual));
  EXPECT_EQ(page.ControlText(kIdcLateralGain), "0");
  EXPECT_EQ(page.ControlText(kIdcMeanValue), "0");
  EXPECT_EQ(page.ControlText(kIdcMeanValueLabel), "Mean value:");
}

TEST_F(SettingsPageTest, PageShowsItsValuesAndOkTakesTheUsersChoices) {
  ZElacSettingsDlg page(nullptr);
  page.SetValues(1, -1.25f, -3);
  ASSERT_TRUE(page.Create());
  EXPECT_EQ(page.ControlText(kIdcMeanValueLabel), "Mean value:");
  EXPECT_TRUE(page.IsChecked(kIdcIntensityManual));
  EXPECT_EQ(page.ControlText(kIdcLateralGain), "-1.25");
  EXPECT_EQ(page.ControlText(kIdcMeanValue), "-3");
  page.ClickRadio(kIdcIntensityAutomatic);
  EXPECT_FALSE(page.IsChecked(kIdcIntensityManual));
  page.SetControlText(kIdcLateralGain, "0.5");
  page.SetControlText(kIdcMeanValue, "12");
  ASSERT_TRUE(page.PressOK());
  EXPECT_FALSE(page.IsOpen());
  EXPECT_EQ(page.intensityControl(), 2);
  EXPECT_EQ(page.lateralGain(), 0.5f);
  EXPECT_EQ(page.meanValue(), 12);
}

}  // namespace
