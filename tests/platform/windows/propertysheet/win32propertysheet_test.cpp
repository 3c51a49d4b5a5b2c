// The settings page as the system's own property sheet, made from the
// dialog in xsereader.dll's resources and driven as a user would: clicks,
// typing and the sheet's buttons. Needs a display (xvfb-run under Wine);
// without one the tests that show the sheet skip themselves.
#include "platform/windows/propertysheet/win32propertysheet.h"

#include <gtest/gtest.h>

// clang-format off
#include <commctrl.h>
#include <prsht.h>
// clang-format on

#include <functional>
#include <optional>
#include <string>

#include "interpreters/xsereader/xsereaderresources.h"
#include "interpreters/xsereader/zelacsettingsdlg.h"
#include "platform/framework/resources.h"
#include "platform/windows/propertysheet/windowcapture.h"
#include "platform/windows/widestring.h"

namespace {

using namespace xsereader;
using platform::win32::SheetOutcome;
using platform::win32::Win32PropertySheet;

// Whether this process can make windows: Wine without a display cannot.
bool CanMakeWindows() {
  HWND probe = ::CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr,
                                 nullptr);
  if (probe == nullptr) return false;
  ::DestroyWindow(probe);
  return true;
}

std::string WindowText(HWND window) {
  wchar_t text[256] = {};
  const int length = ::GetWindowTextW(window, text, 256);
  return platform::NarrowToUtf8(std::wstring(text, static_cast<size_t>(length)));
}

HWND PageOf(HWND sheet) {
  return reinterpret_cast<HWND>(::SendMessageW(sheet, PSM_GETCURRENTPAGEHWND, 0, 0));
}

class Win32SettingsPageTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Read as data: the module's code, with its trace log and settings
    // files, stays out of the test.
    resources_ = ::LoadLibraryExW(L"xsereader.dll", nullptr,
                                  LOAD_LIBRARY_AS_DATAFILE | LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    ASSERT_NE(resources_, nullptr) << "xsereader.dll beside the test: error " << ::GetLastError();
    ASSERT_TRUE(platform::InitExtensionModule(module_, &module_, ModuleResources()));
    platform::AddToResourceChain(module_);
    page_.emplace(nullptr);  // after the resources: the page takes its caption from them
  }
  void TearDown() override {
    page_.reset();
    platform::TermExtensionModule(module_);
    if (resources_ != nullptr) ::FreeLibrary(resources_);
  }

  // Runs the sheet; `user` acts on it once it is up, then presses a button.
  SheetOutcome Run(std::function<void(HWND sheet, HWND page)> user) {
    Win32PropertySheet sheet(*page_, resources_);
    const SheetOutcome outcome = sheet.Run([&](HWND window) { user(window, PageOf(window)); });
    EXPECT_EQ(sheet.error(), "");
    return outcome;
  }

  HMODULE resources_ = nullptr;
  platform::ExtensionModule module_;
  std::optional<ZElacSettingsDlg> page_;
};

class Win32SettingsSheetTest : public Win32SettingsPageTest {
 protected:
  void SetUp() override {
    Win32SettingsPageTest::SetUp();
    if (!CanMakeWindows()) {
      GTEST_SKIP() << "no display: this process cannot make windows (under Wine, run the "
                      "tests with xvfb-run)";
    }
  }
};

TEST_F(Win32SettingsSheetTest, PageShowsTheTemplateAndItsValuesAndCancelKeepsThem) {
  page_->SetValues(1, -1.25f, -3);
  const SheetOutcome outcome = Run([&](HWND sheet, HWND page) {
    EXPECT_EQ(WindowText(sheet), "Elac settings");
    EXPECT_EQ(WindowText(::GetDlgItem(page, kIdcMeanValueLabel)), "Mean value:");
    EXPECT_EQ(::IsDlgButtonChecked(page, kIdcIntensityNone), BST_UNCHECKED);
    EXPECT_EQ(::IsDlgButtonChecked(page, kIdcIntensityManual), BST_CHECKED);
    EXPECT_EQ(WindowText(::GetDlgItem(page, kIdcLateralGain)), "-1.25");
    EXPECT_EQ(WindowText(::GetDlgItem(page, kIdcMeanValue)), "-3");
    // At the template's place, in the page's dialog units.
    RECT expected{112, 43, 112 + 40, 43 + 14};
    ::MapDialogRect(page, &expected);
    RECT actual{};
    ::GetWindowRect(::GetDlgItem(page, kIdcMeanValue), &actual);
    ::MapWindowPoints(nullptr, page, reinterpret_cast<POINT*>(&actual), 2);
    EXPECT_TRUE(::EqualRect(&expected, &actual));

    ::SetDlgItemTextW(page, kIdcMeanValue, L"99");
    Win32PropertySheet::PressButton(sheet, false);
  });
  EXPECT_EQ(outcome, SheetOutcome::kCancel);
  EXPECT_FALSE(page_->IsOpen());
  EXPECT_EQ(page_->meanValue(), -3);
}

TEST_F(Win32SettingsSheetTest, UsersChoicesComeBackThroughOk) {
  const SheetOutcome outcome = Run([&](HWND sheet, HWND page) {
    ::SendMessageW(::GetDlgItem(page, kIdcIntensityAutomatic), BM_CLICK, 0, 0);
    EXPECT_EQ(::IsDlgButtonChecked(page, kIdcIntensityNone), BST_UNCHECKED);
    ::SetDlgItemTextW(page, kIdcLateralGain, L"0.5");
    ::SetDlgItemTextW(page, kIdcMeanValue, L"12");
    Win32PropertySheet::PressButton(sheet, true);
  });
  EXPECT_EQ(outcome, SheetOutcome::kOk);
  EXPECT_FALSE(page_->IsOpen());
  EXPECT_EQ(page_->intensityControl(), 2);
  EXPECT_EQ(page_->lateralGain(), 0.5f);
  EXPECT_EQ(page_->meanValue(), 12);
}

// The framework's box is modal: a timer of the sheet's thread, which the
// box's own message loop runs, reads it, closes it and then looks at the
// sheet, which must still be up.
struct BoxWatch {
  HWND sheet = nullptr;
  const ZElacSettingsDlg* page = nullptr;
  std::string shown;  // "caption: text"
  bool closed = false;
  bool sheetUpAfter = false;
  bool pageOpenAfter = false;
  int ticks = 0;
};
BoxWatch* g_watch = nullptr;

struct BoxSearch {
  HWND owner;
  HWND box = nullptr;
};

BOOL CALLBACK MatchBox(HWND window, LPARAM data) {
  auto* search = reinterpret_cast<BoxSearch*>(data);
  wchar_t name[16] = {};
  ::GetClassNameW(window, name, 16);
  if (std::wstring(name) == L"#32770" && ::GetWindow(window, GW_OWNER) == search->owner &&
      ::IsWindowVisible(window)) {
    search->box = window;
    return FALSE;
  }
  return TRUE;
}

HWND FindBox(HWND owner) {
  BoxSearch search{owner};
  ::EnumThreadWindows(::GetCurrentThreadId(), &MatchBox, reinterpret_cast<LPARAM>(&search));
  return search.box;
}

void CALLBACK WatchBox(HWND /*window*/, UINT /*message*/, UINT_PTR timer, DWORD /*time*/) {
  BoxWatch& watch = *g_watch;
  const HWND box = FindBox(watch.sheet);
  if (!watch.closed && box != nullptr) {
    watch.shown = WindowText(box) + ": " + WindowText(::GetDlgItem(box, 0xFFFF));  // its text
    ::PostMessageW(box, WM_COMMAND, IDOK, 0);
    watch.closed = true;
  } else if ((watch.closed && box == nullptr) || ++watch.ticks > 500) {
    ::KillTimer(nullptr, timer);
    watch.sheetUpAfter = ::IsWindowVisible(watch.sheet) != FALSE;
    watch.pageOpenAfter = watch.page->IsOpen();
    if (box != nullptr) ::PostMessageW(box, WM_COMMAND, IDOK, 0);
    Win32PropertySheet::PressButton(watch.sheet, false);
  }
}

TEST_F(Win32SettingsSheetTest, TextThatDoesNotParseKeepsThePageOpenWithTheMessage) {
  BoxWatch watch;
  g_watch = &watch;
  watch.page = &*page_;
  const SheetOutcome outcome = Run([&](HWND sheet, HWND page) {
    watch.sheet = sheet;
    ::SetDlgItemTextW(page, kIdcLateralGain, L"abc");
    ::SetTimer(nullptr, 0, 20, &WatchBox);
    Win32PropertySheet::PressButton(sheet, true);
  });
  g_watch = nullptr;
  EXPECT_EQ(watch.shown, "Elac settings: Please enter a number.");
  EXPECT_TRUE(watch.sheetUpAfter);
  EXPECT_TRUE(watch.pageOpenAfter);
  EXPECT_EQ(outcome, SheetOutcome::kCancel);
}

// Whether the pixels of `area` are not all one colour: something is drawn.
bool Drawn(const platform::win32::WindowImage& image, const RECT& area) {
  const auto at = [&](LONG x, LONG y) {
    const size_t i =
        (static_cast<size_t>(y) * static_cast<size_t>(image.width) + static_cast<size_t>(x)) * 3;
    return image.rgb[i] << 16 | image.rgb[i + 1] << 8 | image.rgb[i + 2];
  };
  const int first = at(area.left, area.top);
  for (LONG y = area.top; y < area.bottom; ++y)
    for (LONG x = area.left; x < area.right; ++x)
      if (at(x, y) != first) return true;
  return false;
}

TEST_F(Win32SettingsSheetTest, ScreenshotDrawsEveryControl) {
  page_->SetValues(2, 0.5f, 12);
  Run([&](HWND sheet, HWND page) {
    std::string error;
    const auto image = platform::win32::CaptureWindow(sheet, error);
    Win32PropertySheet::PressButton(sheet, false);
    ASSERT_TRUE(image) << error;
    RECT client{};
    ::GetClientRect(sheet, &client);
    EXPECT_EQ(image->width, client.right);
    EXPECT_EQ(image->height, client.bottom);
    for (const platform::DialogControl& control :
         platform::FindDialogTemplate(kIddElacSettings)->controls) {
      SCOPED_TRACE(control.text);
      // The control's place in the template, in the sheet's client area.
      RECT area{control.x, control.y, control.x + control.width, control.y + control.height};
      ::MapDialogRect(page, &area);
      ::MapWindowPoints(page, sheet, reinterpret_cast<POINT*>(&area), 2);
      ASSERT_GE(area.left, 0);
      ASSERT_LE(area.right, image->width);
      ASSERT_LE(area.bottom, image->height);
      EXPECT_TRUE(Drawn(*image, area));
    }
  });
}

TEST_F(Win32SettingsPageTest, ModuleWithoutTheDialogFailsWithoutShowingAnything) {
  // The test program's own resources hold no dialog.
  Win32PropertySheet sheet(*page_, ::GetModuleHandleW(nullptr));
  bool shown = false;
  EXPECT_EQ(sheet.Run([&](HWND) { shown = true; }), SheetOutcome::kFailed);
  EXPECT_EQ(sheet.error(), "the module's resources hold no dialog 19001");
  EXPECT_FALSE(shown);
  EXPECT_FALSE(page_->IsOpen());
}

}  // namespace
