#include "platform/messagebox.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>

#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

namespace {

// The default is the system's box, found here by its caption (in UTF-8 on
// our side) and closed with its OK button. Wine without a display shows
// none: the call returns at once and the test is skipped.
TEST(MessageBoxWindowsTest, TheDefaultIsTheSystemsBoxWithTheTextAndOk) {
  const std::string caption = "XSE \u00DCberfahrt " + std::to_string(::GetCurrentProcessId());
  std::atomic<bool> returned{false};
  std::thread shower([&] {
    platform::ShowMessageBox(caption, "disk full: \xE2\x82\xAC");
    returned = true;
  });
  HWND box = nullptr;
  for (int waited = 0; waited < 10000 && box == nullptr && !returned; waited += 20) {
    ::Sleep(20);
    box = ::FindWindowW(L"#32770", platform::WidenUtf8(caption).c_str());
  }
  wchar_t text[64] = {};
  if (box != nullptr) {
    ::GetDlgItemTextW(box, 0xFFFF, text, 64);  // the box's text control
    ::PostMessageW(box, WM_COMMAND, IDOK, 0);
  }
  shower.join();
  if (box == nullptr) GTEST_SKIP() << "no window system to show a box on";
  EXPECT_EQ(platform::NarrowToUtf8(text), "disk full: \xE2\x82\xAC");
}

}  // namespace
