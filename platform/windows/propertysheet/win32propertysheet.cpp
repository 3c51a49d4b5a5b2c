#include "platform/windows/propertysheet/win32propertysheet.h"

// clang-format off
#include <commctrl.h>
#include <prsht.h>
// clang-format on

#include <string>
#include <utility>

#include "platform/messagebox.h"
#include "platform/windows/widestring.h"

namespace platform::win32 {
namespace {

// Posted by the page when it is made: handled once the sheet's window is
// up, after its creation has returned to the message loop.
constexpr UINT kShownMessage = WM_APP + 1;

constexpr int32_t kDialogResource = 5;  // RT_DIALOG

LPCWSTR ResourceId(int32_t id) {
  return reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(static_cast<uint16_t>(id)));
}

std::wstring ControlText(HWND page, int32_t id) {
  HWND control = ::GetDlgItem(page, id);
  std::wstring text(static_cast<size_t>(::GetWindowTextLengthW(control)) + 1, L'\0');
  text.resize(
      static_cast<size_t>(::GetWindowTextW(control, text.data(), static_cast<int>(text.size()))));
  return text;
}

}  // namespace

Win32PropertySheet::Win32PropertySheet(CPropertyPage& page, HMODULE resources)
    : page_(page), resources_(resources) {}

Win32PropertySheet::~Win32PropertySheet() = default;

SheetOutcome Win32PropertySheet::Run(ShownHandler onShown) {
  const int32_t id = page_.templateId();
  if (::FindResourceW(resources_, ResourceId(id), ResourceId(kDialogResource)) == nullptr) {
    error_ = "the module's resources hold no dialog " + std::to_string(id);
    return SheetOutcome::kFailed;
  }
  if (!page_.Create()) {
    error_ = "the window framework holds no dialog template " + std::to_string(id);
    return SheetOutcome::kFailed;
  }
  onShown_ = std::move(onShown);
  sheet_ = nullptr;
  accepted_ = false;
  error_.clear();

  INITCOMMONCONTROLSEX controls{sizeof controls, ICC_TAB_CLASSES | ICC_STANDARD_CLASSES};
  ::InitCommonControlsEx(&controls);

  // Boxes of this thread are owned by the sheet, which they block until
  // they are closed; boxes of other threads keep their way.
  const DWORD thread = ::GetCurrentThreadId();
  const MessageBoxHandler previous = SetMessageBoxHandler(nullptr);
  SetMessageBoxHandler(
      [this, thread, previous](const std::string& caption, const std::string& text) {
        if (::GetCurrentThreadId() == thread && sheet_ != nullptr) {
          ::MessageBoxW(sheet_, WidenUtf8(text).c_str(), WidenUtf8(caption).c_str(),
                        MB_OK | MB_ICONERROR);
        } else if (previous) {
          previous(caption, text);
        } else {
          ::MessageBoxW(nullptr, WidenUtf8(text).c_str(), WidenUtf8(caption).c_str(),
                        MB_OK | MB_ICONERROR | MB_TASKMODAL);
        }
      });
  const SheetOutcome outcome = RunSheet();
  SetMessageBoxHandler(previous);
  return outcome;
}

SheetOutcome Win32PropertySheet::RunSheet() {
  const int32_t id = page_.templateId();
  PROPSHEETPAGEW sheetPage{};
  sheetPage.dwSize = sizeof sheetPage;
  sheetPage.dwFlags = PSP_DEFAULT;  // the tab shows the template's caption
  sheetPage.hInstance = resources_;
  sheetPage.pszTemplate = ResourceId(id);
  sheetPage.pfnDlgProc = &PageProc;
  sheetPage.lParam = reinterpret_cast<LPARAM>(this);

  const std::wstring caption = WidenUtf8(page_.caption());
  PROPSHEETHEADERW header{};
  header.dwSize = sizeof header;
  header.dwFlags = PSH_PROPSHEETPAGE | PSH_NOAPPLYNOW | PSH_NOCONTEXTHELP;
  header.hInstance = resources_;
  header.pszCaption = caption.c_str();
  header.nPages = 1;
  header.ppsp = &sheetPage;
  const INT_PTR result = ::PropertySheetW(&header);
  // Without windows (Wine without a display) the sheet may end at once as
  // if cancelled: the page was never made.
  const bool made = sheet_ != nullptr;
  sheet_ = nullptr;
  if (result < 0 || !made) {
    error_ = "the system could not make the sheet's window (is there a display?)";
    return SheetOutcome::kFailed;
  }
  return accepted_ ? SheetOutcome::kOk : SheetOutcome::kCancel;
}

void Win32PropertySheet::PressButton(HWND sheet, bool ok) {
  ::PostMessageW(sheet, PSM_PRESSBUTTON, ok ? PSBTN_OK : PSBTN_CANCEL, 0);
}

INT_PTR CALLBACK Win32PropertySheet::PageProc(HWND page, UINT message, WPARAM /*wParam*/,
                                              LPARAM lParam) {
  if (message == WM_INITDIALOG) {
    auto* self =
        reinterpret_cast<Win32PropertySheet*>(reinterpret_cast<PROPSHEETPAGEW*>(lParam)->lParam);
    ::SetWindowLongPtrW(page, DWLP_USER, reinterpret_cast<LONG_PTR>(self));
    self->sheet_ = ::GetParent(page);
    self->ShowControlState(page);
    ::PostMessageW(page, kShownMessage, 0, 0);
    return TRUE;  // the sheet sets the focus
  }
  auto* self = reinterpret_cast<Win32PropertySheet*>(::GetWindowLongPtrW(page, DWLP_USER));
  if (self == nullptr) return FALSE;
  switch (message) {
    case kShownMessage:
      if (!::IsWindowVisible(self->sheet_)) ::ShowWindow(self->sheet_, SW_SHOW);
      // Painting waits behind posted messages: draw everything now.
      ::RedrawWindow(self->sheet_, nullptr, nullptr,
                     RDW_INVALIDATE | RDW_ERASE | RDW_FRAME | RDW_ALLCHILDREN | RDW_UPDATENOW);
      if (self->onShown_) self->onShown_(self->sheet_);
      return TRUE;
    case WM_NOTIFY:
      switch (reinterpret_cast<const NMHDR*>(lParam)->code) {
        case PSN_APPLY:
          // The result goes back through the dialog's message result.
          ::SetWindowLongPtrW(page, DWLP_MSGRESULT,
                              self->Apply(page) ? PSNRET_NOERROR : PSNRET_INVALID_NOCHANGEPAGE);
          return TRUE;
        case PSN_RESET:  // Cancel, Escape or the window's close box
          self->page_.PressCancel();
          return TRUE;
        default:
          return FALSE;
      }
    default:
      return FALSE;
  }
}

void Win32PropertySheet::ShowControlState(HWND page) const {
  const DialogTemplate* dialog = FindDialogTemplate(page_.templateId());
  if (dialog == nullptr) return;
  for (const DialogControl& control : dialog->controls) {
    switch (control.kind) {
      case ControlKind::kRadioButton:
        ::CheckDlgButton(page, control.id,
                         page_.IsChecked(control.id) ? BST_CHECKED : BST_UNCHECKED);
        break;
      case ControlKind::kEditBox:
        ::SetDlgItemTextW(page, control.id, WidenUtf8(page_.ControlText(control.id)).c_str());
        break;
      case ControlKind::kLabel:
        if (control.id != kNoControlId) {
          ::SetDlgItemTextW(page, control.id, WidenUtf8(page_.ControlText(control.id)).c_str());
        }
        break;
      case ControlKind::kGroupBox:
        break;
    }
  }
}

void Win32PropertySheet::ReadControlState(HWND page) {
  const DialogTemplate* dialog = FindDialogTemplate(page_.templateId());
  if (dialog == nullptr) return;
  for (const DialogControl& control : dialog->controls) {
    switch (control.kind) {
      case ControlKind::kRadioButton:
        // Automatic buttons clear the others of their group, which the
        // page's click does too.
        if (::IsDlgButtonChecked(page, control.id) == BST_CHECKED) page_.ClickRadio(control.id);
        break;
      case ControlKind::kEditBox:
        page_.SetControlText(control.id, NarrowToUtf8(ControlText(page, control.id)));
        break;
      case ControlKind::kLabel:
      case ControlKind::kGroupBox:
        break;
    }
  }
}

bool Win32PropertySheet::Apply(HWND page) {
  ReadControlState(page);
  // A value that does not parse: the page has shown its message and stays.
  if (!page_.PressOK()) return false;
  accepted_ = true;
  return true;
}

}  // namespace platform::win32
