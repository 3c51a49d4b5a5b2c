#include "platform/messagebox.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace platform {
namespace {

std::mutex g_handlerLock;
MessageBoxHandler g_handler;  // empty: the default

void ShowOnStandardError(const std::string& caption, const std::string& text) {
  // One call, so boxes of different threads do not interleave on the stream.
  std::fprintf(stderr, "%s: %s\n", caption.c_str(), text.c_str());
  std::fflush(stderr);
}

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
    ShowOnStandardError(caption, text);
  }
}

MessageBoxHandler SetMessageBoxHandler(MessageBoxHandler handler) {
  const std::lock_guard<std::mutex> lock(g_handlerLock);
  return std::exchange(g_handler, std::move(handler));
}

}  // namespace platform
