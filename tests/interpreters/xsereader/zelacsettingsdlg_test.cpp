#include "interpreters/xsereader/zelacsettingsdlg.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "interpreters/xsereader/xsereaderresources.h"
#include "interpreters/xsereader/zxsereader.h"
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
  ZXSEReader reader;
  ZElacSettingsDlg page(&reader);
  EXPECT_EQ(page.reader(), &reader);
  EXPECT_EQ(page.caption(), "Elac settings");
  ASSERT_TRUE(page.Create());
  EXPECT_TRUE(page.IsChecked(kIdcIntensityNone));
  EXPECT_FALSE(page.IsChecked(kIdcIntensityManual));
  EXPECT_FALSE(page.IsChecked(kIdcIntensityAutomatic));
  EXPECT_EQ(page.ControlText(kIdcLateralGain), "0");
  EXPECT_EQ(page.ControlText(kIdcMeanValue), "0");
  EXPECT_EQ(page.ControlText(kIdcMeanValueLabel), "Mean value:");
}

TEST_F(SettingsPageTest, OkTakesTheUsersChoices) {
  ZElacSettingsDlg page(nullptr);
  ASSERT_TRUE(page.Create());
  page.ClickRadio(kIdcIntensityAutomatic);
  EXPECT_FALSE(page.IsChecked(kIdcIntensityNone));
  page.SetControlText(kIdcLateralGain, "0.5");
  page.SetControlText(kIdcMeanValue, "12");
  ASSERT_TRUE(page.PressOK());
  EXPECT_FALSE(page.IsOpen());
  EXPECT_EQ(page.intensityControl(), 2);
  EXPECT_EQ(page.lateralGain(), 0.5f);
  EXPECT_EQ(page.meanValue(), 12);
}

TEST_F(SettingsPageTest, TextThatIsNoNumberKeepsThePageOpen) {
  ZElacSettingsDlg page(nullptr);
  ASSERT_TRUE(page.Create());
  page.SetControlText(kIdcLateralGain, "abc");
  EXPECT_FALSE(page.PressOK());
  EXPECT_TRUE(page.IsOpen());
  EXPECT_EQ(page.validationMessage(), "Please enter a number.");
  EXPECT_EQ(page.lateralGain(), 0.0f);
}

TEST_F(SettingsPageTest, IntensityOutsideTheGroupChecksNoButton) {
  ZElacSettingsDlg page(nullptr);
  page.SetValues(5, -1.25f, -3);
  ASSERT_TRUE(page.Create());
  EXPECT_FALSE(page.IsChecked(kIdcIntensityNone));
  EXPECT_FALSE(page.IsChecked(kIdcIntensityManual));
  EXPECT_FALSE(page.IsChecked(kIdcIntensityAutomatic));
  EXPECT_EQ(page.ControlText(kIdcLateralGain), "-1.25");
  EXPECT_EQ(page.ControlText(kIdcMeanValue), "-3");
  ASSERT_TRUE(page.PressOK());
  EXPECT_EQ(page.intensityControl(), -1);
}

TEST_F(SettingsPageTest, TheFrameworkCreatesThePageByName) {
  const std::unique_ptr<platform::CObject> object =
      platform::CreateObjectByName("ZElacSettingsDlg");
  const auto* page = dynamic_cast<ZElacSettingsDlg*>(object.get());
  ASSERT_NE(page, nullptr);
  EXPECT_EQ(page->reader(), nullptr);
  EXPECT_EQ(page->caption(), "Elac settings");
}

TEST_F(SettingsPageTest, StringTable) {
  EXPECT_EQ(platform::LoadResourceString(20108), "Enable sidescan");
  EXPECT_EQ(platform::LoadResourceString(20112), "Linear TVG");
  EXPECT_EQ(platform::LoadResourceString(20113), "dB/km");
  EXPECT_EQ(platform::LoadResourceString(20109), std::nullopt);
}

}  // namespace
