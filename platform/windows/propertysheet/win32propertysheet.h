// A property sheet with one page, on the system's own property sheets
// (comctl32). The page's window is made by the system from the page's dialog
// template in a module's resources; the framework's property page stays the
// one that holds the control state and runs data exchange. Its state goes
// into the real controls when the page is shown and comes back from them
// when OK is pressed, where the page validates: a value that does not parse
// shows the framework's message in a message box over the sheet, and the
// sheet stays open.
#pragma once

#include <functional>
#include <string>

#include "platform/framework/propertypage.h"
#include "platform/windows/win32.h"

namespace platform::win32 {

enum class SheetOutcome {
  kOk,      // OK pressed and every value parsed: the page ran OnOK
  kCancel,  // Cancel pressed or the sheet closed: the page ran OnCancel
  kFailed,  // the sheet could not be shown (see Win32PropertySheet::error)
};

class Win32PropertySheet {
 public:
  // Called once the sheet is on screen and drawn, with the sheet's window,
  // on the sheet's thread inside its message loop. It may press a button
  // (PressButton) or capture the window.
  using ShownHandler = std::function<void(HWND sheet)>;

  // `page` is shown from the dialog template of its id in `resources`, the
  // module whose resources hold it (a module loaded as data will do). The
  // page must outlive the sheet.
  Win32PropertySheet(CPropertyPage& page, HMODULE resources);
  Win32PropertySheet(const Win32PropertySheet&) = delete;
  Win32PropertySheet& operator=(const Win32PropertySheet&) = delete;
  ~Win32PropertySheet();

  // Runs the sheet modally on the calling thread, titled with the page's
  // caption, with OK and Cancel. Runs the page's Create (and so its
  // OnInitDialog) first. kFailed, with error() saying why, when the page's
  // template is neither in the framework's chain nor in `resources`, or the
  // system cannot make the window (Wine without a display). While it runs,
  // message boxes of this thread are system message boxes owned by the
  // sheet.
  SheetOutcome Run(ShownHandler onShown = {});

  const std::string& error() const { return error_; }

  // Presses OK or Cancel of `sheet` as a user would: queued, so it happens
  // once the caller returns to the message loop.
  static void PressButton(HWND sheet, bool ok);

 private:
  // Run, with the message boxes in place.
  SheetOutcome RunSheet();
  static INT_PTR CALLBACK PageProc(HWND page, UINT message, WPARAM wParam, LPARAM lParam);
  // The page's control state into the real controls, and back.
  void ShowControlState(HWND page) const;
  void ReadControlState(HWND page);
  // PSN_APPLY: true when the page took the values.
  bool Apply(HWND page);

  CPropertyPage& page_;
  HMODULE resources_;
  ShownHandler onShown_;
  HWND sheet_ = nullptr;
  bool accepted_ = false;
  std::string error_;
};

}  // namespace platform::win32
