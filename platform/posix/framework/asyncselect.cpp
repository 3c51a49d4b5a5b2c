#include "platform/framework/asyncselect.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>

#include "platform/posix/framework/threadqueue.h"

namespace platform {

namespace {

int Fd(SocketHandle socket) { return static_cast<int>(socket); }

intptr_t EventParameter(uint32_t event, uint32_t error) {
  return static_cast<intptr_t>(((error & 0xFFFFu) << 16) | (event & 0xFFFFu));
}

}  // namespace

std::shared_ptr<ThreadQueue> ThisThreadQueue() {
  thread_local const std::shared_ptr<ThreadQueue> queue = std::make_shared<ThreadQueue>();
  return queue;
}

void ThreadQueue::Push(const WindowMessage& message) {
  const std::lock_guard lock(mutex_);
  messages_.push_back(message);
}

bool ThreadQueue::Pop(WindowMessage& message) {
  const std::lock_guard lock(mutex_);
  if (messages_.empty()) return false;
  message = messages_.front();
  messages_.pop_front();
  return true;
}

void ThreadQueue::Select(SocketHandle socket, WindowHandle window, uint32_t message,
                         uint32_t events) {
  const std::lock_guard lock(mutex_);
  std::erase_if(selections_, [&](const Selection& s) { return s.socket == socket; });
  if (events != 0) selections_.push_back({socket, window, message, events, false});
}

void ThreadQueue::Rearm(SocketHandle socket) {
  const std::lock_guard lock(mutex_);
  for (Selection& selection : selections_) {
    if (selection.socket == socket) selection.readPending = false;
  }
}

void ThreadQueue::CollectSocketEvents() {
  const std::lock_guard lock(mutex_);
  std::vector<pollfd> ready;
  for (const Selection& selection : selections_) {
    if (!selection.readPending) ready.push_back({Fd(selection.socket), POLLIN, 0});
  }
  if (ready.empty() || ::poll(ready.data(), ready.size(), 0) <= 0) return;
  for (const pollfd& entry : ready) {
    if (entry.revents == 0) continue;
    const auto found = std::find_if(selections_.begin(), selections_.end(),
                                    [&](const auto& s) { return Fd(s.socket) == entry.fd; });
    if (found == selections_.end()) continue;
    Selection& selection = *found;
    // A peek tells data from an orderly close from a failed connection.
    char probe;
    const ssize_t peeked = ::recv(entry.fd, &probe, 1, MSG_PEEK | MSG_DONTWAIT);
    if (peeked > 0) {
      if ((selection.events & kSocketReadEvent) == 0) continue;
      selection.readPending = true;
      messages_.push_back({selection.window, selection.message, selection.socket,
                           EventParameter(kSocketReadEvent, 0)});
      continue;
    }
    if (peeked < 0 && (errno == EAGAIN || errno == EINTR)) continue;
    const uint32_t error = peeked == 0 ? 0 : LastSocketError();
    const Selection closed = selection;
    selections_.erase(found);
    if ((closed.events & kSocketCloseEvent) != 0) {
      messages_.push_back(
          {closed.window, closed.message, closed.socket, EventParameter(kSocketCloseEvent, error)});
    }
  }
}

bool SelectSocketEvents(SocketHandle socket, WindowHandle window, uint32_t message,
                        uint32_t events) {
  const std::shared_ptr<ThreadQueue> owner = OwnerQueue(window);
  if (events != 0) {
    if (owner == nullptr || owner != ThisThreadQueue()) return false;
    SetNonBlocking(socket);
    owner->Select(socket, window, message, events);
    return true;
  }
  (owner != nullptr ? owner : ThisThreadQueue())->Select(socket, window, message, 0);
  return true;
}

int32_t ReceiveFromSocket(SocketHandle socket, void* into, int32_t length) {
  ThisThreadQueue()->Rearm(socket);
  if (length < 0) {
    errno = EINVAL;
    return -1;
  }
  ssize_t received;
  do {
    received = ::recv(Fd(socket), into, static_cast<size_t>(length), MSG_DONTWAIT);
  } while (received < 0 && errno == EINTR);
  return static_cast<int32_t>(received);
}

}  // namespace platform
