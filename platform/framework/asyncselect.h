// Socket events as window messages. A socket selected for a window has its
// data-ready and connection-closed events queued to the window's thread as
// `message`, with the socket as wParam and, in lParam, the event in the low
// 16 bits and a socket error number (0 when none) in the high 16 bits.
//
// The events reach the thread among its other messages (PeekThreadMessage),
// and only the window's thread reads the socket. A read event is not
// repeated until the socket has been read (ReceiveFromSocket); a close
// event comes once, after any data still to be read when the peer ended in
// order (a reset comes at once, with its error), and ends the selection.
#pragma once

#include <cstdint>

#include "platform/framework/wnd.h"
#include "platform/sharedapi.h"
#include "platform/tcpsocket.h"

namespace platform {

inline constexpr uint32_t kSocketReadEvent = 1;
inline constexpr uint32_t kSocketCloseEvent = 32;

// Selects `events` (kSocketReadEvent | kSocketCloseEvent) of `socket` for
// `window`, which must belong to the calling thread; the socket is
// non-blocking from then on, also after the selection ends. 0 events cancel
// the selection (from any thread); events already queued stay queued. False
// when the window is not this thread's.
XSE_SHARED_API bool SelectSocketEvents(SocketHandle socket, WindowHandle window, uint32_t message,
                                       uint32_t events);

// Reads up to `length` bytes from a socket that is or was selected (or was
// made non-blocking), so without waiting: the count read, 0 when the peer
// has closed, -1 on failure (LastSocketError says why; kSocketWouldBlock
// when nothing is there yet). Lets the next read event come.
XSE_SHARED_API int32_t ReceiveFromSocket(SocketHandle socket, void* into, int32_t length);

}  // namespace platform
