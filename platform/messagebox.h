// Modal message box: an error icon and a single OK button, no owner window.
// The calling thread waits until the box is closed. Without a window system
// the default shows the box as "<caption>: <text>" on standard error; a host
// (or a test) installs its own handler to put it in front of a user.
#pragma once

#include <functional>
#include <string>
#include <utility>

#include "platform/sharedapi.h"

namespace platform {

using MessageBoxHandler = std::function<void(const std::string& caption, const std::string& text)>;

// Shows the box through the installed handler and returns when it is closed.
XSE_SHARED_API void ShowMessageBox(const std::string& caption, const std::string& text);

// Installs `handler` (an empty one brings back the default) and returns the
// one it replaces. Safe to call while other threads show boxes: a box already
// being shown finishes with the handler it started with.
XSE_SHARED_API MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler);

// Installs a handler for the lifetime of the object and then puts the
// previous one back.
class ScopedMessageBoxHandler {
 public:
  explicit ScopedMessageBoxHandler(MessageBoxHandler handler)
      : previous_(SetMessageBoxHandler(std::move(handler))) {}
  ScopedMessageBoxHandler(const ScopedMessageBoxHandler&) = delete;
  ScopedMessageBoxHandler& operator=(const ScopedMessageBoxHandler&) = delete;
  ~ScopedMessageBoxHandler() { SetMessageBoxHandler(std::move(previous_)); }

 private:
  MessageBoxHandler previous_;
};

}  // namespace platform
