// Without a handler a box is the system's own, owned by no window.
#include "platform/systemmessagebox.h"
#include "platform/windows/widestring.h"
#include "platform/windows/win32.h"

namespace platform {

void ShowSystemMessageBox(const std::string& caption, const std::string& text) {
  // Task-modal: the caller's thread may have windows of its own, which must
  // not take input while the box waits.
  ::MessageBoxW(nullptr, WidenUtf8(text).c_str(), WidenUtf8(caption).c_str(),
                MB_OK | MB_ICONERROR | MB_TASKMODAL);
}

}  // namespace platform
