#include "platform/framework/asyncselect.h"

#include "platform/windows/framework/windowtable.h"
#include "platform/windows/win32.h"

namespace platform {

// The events and lParam's layout are Winsock's own, so its notifications
// are passed on as they come: Winsock holds back further read events until
// the socket is read, and reports an orderly close only once the data
// before it has been read.
static_assert(kSocketReadEvent == FD_READ && kSocketCloseEvent == FD_CLOSE);

bool SelectSocketEvents(SocketHandle socket, WindowHandle window, uint32_t message,
                        uint32_t events) {
  if (events != 0 && !IsLiveWindowOfThisThread(window)) return false;
  return ::WSAAsyncSelect(static_cast<SOCKET>(socket), reinterpret_cast<HWND>(window),
                          events != 0 ? message : 0, static_cast<long>(events)) == 0 ||
         events == 0;  // a cancel for a socket or window that is gone is done
}

int32_t ReceiveFromSocket(SocketHandle socket, void* into, int32_t length) {
  if (length < 0) {
    ::WSASetLastError(WSAEINVAL);
    return -1;
  }
  return ::recv(static_cast<SOCKET>(socket), static_cast<char*>(into), length, 0);
}

}  // namespace platform
