// Inside the framework library: a thread's message queue and the sockets
// selected for its windows.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <vector>

#include "platform/framework/wnd.h"
#include "platform/tcpsocket.h"

namespace platform {

class ThreadQueue {
 public:
  // Any thread: a window's socket selection may be cancelled from a thread
  // that destroys it.
  void Push(const WindowMessage& message);
  void Select(SocketHandle socket, WindowHandle window, uint32_t message, uint32_t events);
  // Lets the socket's next read event come.
  void Rearm(SocketHandle socket);

  // The owning thread only.
  bool Pop(WindowMessage& message);
  // Queues the events of selected sockets that are ready now; never waits.
  void CollectSocketEvents();

 private:
  struct Selection {
    SocketHandle socket;
    WindowHandle window;
    uint32_t message;
    uint32_t events;
    bool readPending;  // a read event is queued and the socket not yet read
  };

  std::mutex mutex_;
  std::deque<WindowMessage> messages_;
  std::vector<Selection> selections_;
};

// The calling thread's queue, made on first use; it lives as long as a
// window of the thread refers to it.
std::shared_ptr<ThreadQueue> ThisThreadQueue();

// The queue of the thread that owns `window`; null when there is no such
// window.
std::shared_ptr<ThreadQueue> OwnerQueue(WindowHandle window);

}  // namespace platform
