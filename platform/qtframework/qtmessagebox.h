// The process's message boxes as Qt message boxes while the GUI is up.
#pragma once

#include "platform/messagebox.h"

namespace platform::qt {

// While alive, a box shown on the thread of the running QApplication is a
// modal Qt message box (error icon, OK) over the active window, and the
// caller waits until it is closed. Boxes of other threads, and boxes shown
// when no QApplication exists, go to the handler that was installed before
// (standard error by default). Create it on the GUI thread after the
// QApplication; destroying it puts the previous handler back.
class QtMessageBoxScope {
 public:
  QtMessageBoxScope();
  QtMessageBoxScope(const QtMessageBoxScope&) = delete;
  QtMessageBoxScope& operator=(const QtMessageBoxScope&) = delete;
  ~QtMessageBoxScope();

 private:
  MessageBoxHandler previous_;
};

}  // namespace platform::qt
