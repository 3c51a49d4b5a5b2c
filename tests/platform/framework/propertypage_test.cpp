#include "platform/framework/propertypage.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <string>
#include <tuple>

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

// The ids of the checked radio buttons, such as "1 5".
std::string Checked(const TestPage& page) {
  std::string ids;
  for (int32_t id = 1; id <= 5; ++id) {
    if (page.IsChecked(id)) ids += (ids.empty() ? "" : " ") + std::to_string(id);
  }
  return ids;
}

// What a page shows and takes back is pinned down by the settings page's
// tests; here what those do not reach.
TEST_F(PropertyPageTest, ClicksStayInTheirGroupAndValuesOutsideItCheckNone) {
  TestPage page;
  ASSERT_TRUE(page.Create());
  EXPECT_EQ(Checked(page), "1 5");
  page.ClickRadio(3);
  page.ClickRadio(4);
  EXPECT_EQ(Checked(page), "3 4");
  ASSERT_TRUE(page.PressOK());
  EXPECT_EQ(page.first, 2);
  EXPECT_EQ(page.second, 0);

  page.first = 3;
  page.second = -1;
  ASSERT_TRUE(page.Create());
  EXPECT_EQ(Checked(page), "");
  page.PressCancel();  // keeps the members: none checked would read back as -1
  EXPECT_FALSE(page.IsOpen());
  EXPECT_EQ(page.first, 3);
  ASSERT_TRUE(page.Create());
  ASSERT_TRUE(page.PressOK());
  EXPECT_EQ(page.first, -1);
  EXPECT_EQ(page.second, -1);
}

// The first value that does not parse keeps the page open with its message;
// the members exchanged before it are taken, those after it left alone.
TEST_F(PropertyPageTest, OkTakesOnlyWholeNumbers) {
  const char* const number = "Please enter a number.";
  const char* const integer = "Please enter an integer.";
  // Gain text, count text, the message (empty: accepted), the members afterwards.
  const std::tuple<const char*, const char*, const char*, float, int32_t> kCases[] = {
      {" -1e3 ", "+7", "", -1000.0f, 7},        {"1.5x", "9", number, 0.0f, 5},
      {"1e39", "9", number, 0.0f, 5},           {"nan", "9", number, 0.0f, 5},
      {"1", "1.5", integer, 1.0f, 5},           {"1", "2147483648", integer, 1.0f, 5},
      {"1", "-2147483648", "", 1.0f, INT32_MIN}};
  for (const auto& [gainText, countText, message, gain, count] : kCases) {
    SCOPED_TRACE(std::string(gainText) + " / " + countText);
    const bool accepted = message[0] == '\0';
    TestPage page;
    page.count = 5;
    ASSERT_TRUE(page.Create());
    page.ClickRadio(2);
    page.SetControlText(6, gainText);
    page.SetControlText(7, countText);
    EXPECT_EQ(page.PressOK(), accepted);
    EXPECT_EQ(page.IsOpen(), !accepted);
    EXPECT_EQ(page.validationMessage(), message);
    EXPECT_EQ(page.okCalls, accepted ? 1 : 0);
    EXPECT_EQ(page.first, 1);
    EXPECT_EQ(page.gain, gain);
    EXPECT_EQ(page.count, count);
  }
}

TEST(PropertyPageWithoutTemplateTest, CannotBeShown) {
  TestPage page;
  EXPECT_EQ(page.caption(), "");
  EXPECT_FALSE(page.Create());
  EXPECT_FALSE(page.PressOK());
}

}  // namespace
}  // namespace platform
