#include "platform/framework/propertypage.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>

namespace platform {
namespace {

// A page with two radio groups and two edit boxes.
constexpr std::array<DialogControl, 7> kControls = {{
    {ControlKind::kRadioButton, 1, "a", 0, 0, 1, 1, kStyleGroupStart | kStyleAutoRadio},
    {ControlKind::kRadioButton, 2, "b", 0, 0, 1, 1, kStyleAutoRadio},
    {ControlKind::kRadioButton, 3, "c", 0, 0, 1, 1, kStyleAutoRadio},
    {ControlKind::kRadioButton, 4, "x", 0, 0, 1, 1, kStyleGroupStart | kStyleAutoRadio},
    {ControlKind::kRadioButton, 5, "y", 0, 0, 1, 1, kStyleAutoRadio},
    {ControlKind::kEditBox, 6, "", 0, 0, 1, 1, kStyleBorder},
    {ControlKind::kEditBox, 7, "", 0, 0, 1, 1, kStyleBorder},
}};
constexpr std::array<DialogTemplate, 1> kDialogs = {{{500, "Test page", "F", 8, 9, 9, kControls}}};
const ModuleResources kResources = {kDialogs, {}, {}};
const char kHandle = 0;

class TestPage final : public CPropertyPage {
 public:
  TestPage() : CPropertyPage(500) {}
  int32_t first = 0;
  int32_t second = 1;
  float gain = 0.0f;
  int32_t count = 0;
  int okCalls = 0;

 protected:
  void DoDataExchange(DataExchange& exchange) override {
    exchange.Radio(1, first);
    exchange.Radio(4, second);
    exchange.Text(6, gain);
    exchange.Text(7, count);
  }
  void OnOK() override { ++okCalls; }
};

class PropertyPageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(InitExtensionModule(module_, &kHandle, kResources));
    AddToResourceChain(module_);
  }
  void TearDown() override { TermExtensionModule(module_); }

 private:
  ExtensionModule module_;
};

TEST_F(PropertyPageTest, ShowingThePageFillsTheControls) {
  TestPage page;
  EXPECT_EQ(page.caption(), "Test page");
  page.gain = 0.5f;
  page.count = -12;
  ASSERT_TRUE(page.Create());
  EXPECT_TRUE(page.IsChecked(1));
  EXPECT_FALSE(page.IsChecked(2));
  EXPECT_TRUE(page.IsChecked(5));
  EXPECT_EQ(page.ControlText(6), "0.5");
  EXPECT_EQ(page.ControlText(7), "-12");
}

TEST_F(PropertyPageTest, RadioGroupsSwitchOnlyTheirOwnButtonsOff) {
  TestPage page;
  ASSERT_TRUE(page.Create());
  page.ClickRadio(3);
  EXPECT_FALSE(page.IsChecked(1));
  EXPECT_TRUE(page.IsChecked(3));
  EXPECT_TRUE(page.IsChecked(5));
  page.ClickRadio(4);
  EXPECT_TRUE(page.IsChecked(3));
  EXPECT_TRUE(page.IsChecked(4));
  EXPECT_FALSE(page.IsChecked(5));
}

TEST_F(PropertyPageTest, ValueOutsideTheGroupChecksNoneAndReadsBackAsMinusOne) {
  TestPage page;
  page.first = 3;
  page.second = -1;
  ASSERT_TRUE(page.Create());
  for (int32_t id : {1, 2, 3, 4, 5}) EXPECT_FALSE(page.IsChecked(id)) << id;
  page.first = 0;
  ASSERT_TRUE(page.PressOK());
  EXPECT_EQ(page.first, -1);
  EXPECT_EQ(page.second, -1);
}

struct ParseCase {
  const char* gainText;
  const char* countText;
  bool accepted;
  const char* message;
};

class PropertyPageParseTest : public PropertyPageTest,
                              public ::testing::WithParamInterface<ParseCase> {};

TEST_P(PropertyPageParseTest, OkAcceptsOnlyWholeNumbers) {
  TestPage page;
  ASSERT_TRUE(page.Create());
  page.SetControlText(6, GetParam().gainText);
  page.SetControlText(7, GetParam().countText);
  EXPECT_EQ(page.PressOK(), GetParam().accepted);
  EXPECT_EQ(page.IsOpen(), !GetParam().accepted);
  EXPECT_EQ(page.validationMessage(), GetParam().message);
  EXPECT_EQ(page.okCalls, GetParam().accepted ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PropertyPageParseTest,
    ::testing::Values(ParseCase{"0.5", "12", true, ""}, ParseCase{" -1e3 ", "+7", true, ""},
                      ParseCase{"abc", "12", false, "Please enter a number."},
                      ParseCase{"", "12", false, "Please enter a number."},
                      ParseCase{"1.5x", "12", false, "Please enter a number."},
                      ParseCase{"1e39", "12", false, "Please enter a number."},
                      ParseCase{"nan", "12", false, "Please enter a number."},
                      ParseCase{"1", "1.5", false, "Please enter an integer."},
                      ParseCase{"1", "2147483648", false, "Please enter an integer."},
                      ParseCase{"1", "-2147483648", true, ""},
                      ParseCase{"abc", "abc", false, "Please enter a number."}));

TEST_F(PropertyPageTest, FailedOkLeavesTheMembersAfterTheBadValueUntouched) {
  TestPage page;
  page.count = 5;
  ASSERT_TRUE(page.Create());
  page.ClickRadio(2);
  page.SetControlText(6, "abc");
  page.SetControlText(7, "9");
  EXPECT_FALSE(page.PressOK());
  EXPECT_EQ(page.first, 1);  // exchanged before the bad value
  EXPECT_EQ(page.count, 5);
  page.SetControlText(6, "2.25");
  EXPECT_TRUE(page.PressOK());
  EXPECT_EQ(page.gain, 2.25f);
  EXPECT_EQ(page.count, 9);
}

TEST_F(PropertyPageTest, CancelKeepsTheMembers) {
  TestPage page;
  ASSERT_TRUE(page.Create());
  page.SetControlText(7, "99");
  page.PressCancel();
  EXPECT_FALSE(page.IsOpen());
  EXPECT_EQ(page.count, 0);
}

TEST(PropertyPageWithoutTemplateTest, CannotBeShown) {
  TestPage page;
  EXPECT_EQ(page.caption(), "");
  EXPECT_FALSE(page.Create());
  EXPECT_FALSE(page.PressOK());
}

}  // namespace
}  // namespace platform
