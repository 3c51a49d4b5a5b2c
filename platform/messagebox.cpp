#include "platform/messagebox.h"

#include <mutex>
#include <utility>

#include "platform/systemmessagebox.h"

namespace platform {
namespace {

std::mutex g_handlerLock;
MessageBoxHandler g_handler;  // empty: the default

}  // namespace

void ShowMessageBox(const std::string& caption, const std::string& text) {
  MessageBoxHandler handler;
  {
    const std::lock_guard<std::mutex> lock(g_handlerLock);
    handler = g_handler;
  }
  // Called without the lock: a box may stay open for as long as the user
  // likes, and other threads must still be able to show theirs.
  if (handler) {
    handler(caption, text);
  } else {
    ShowSystemMessageBox(caption, text);
  }
}

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
  const std::lock_guard<std::mutex> lock(g_handlerLock);
  return std::exchange(g_handler, std::move(handler));
}

}  // namespace platform
