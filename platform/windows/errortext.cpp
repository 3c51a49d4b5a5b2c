#include "platform/errortext.h"

#include <algorithm>
#include <cerrno>
#include <iterator>

namespace platform {
namespace {

struct KnownError {
  int number;
  const char* text;
};

// The runtime's own texts differ from the GNU library's in wording (ENOMEM
// is "Not enough space" there, "Cannot allocate memory" here), so they are
// kept here, keyed by this runtime's numbers, and messages read alike on
// both systems. The numbers are not Linux's: only the names agree.
constexpr KnownError kKnownErrors[] = {
    {EPERM, "Operation not permitted"},
    {ENOENT, "No such file or directory"},
    {ESRCH, "No such process"},
    {EINTR, "Interrupted system call"},
    {EIO, "Input/output error"},
    {ENXIO, "No such device or address"},
    {E2BIG, "Argument list too long"},
    {ENOEXEC, "Exec format error"},
    {EBADF, "Bad file descriptor"},
    {ECHILD, "No child processes"},
    {EAGAIN, "Resource temporarily unavailable"},
    {ENOMEM, "Cannot allocate memory"},
    {EACCES, "Permission denied"},
    {EFAULT, "Bad address"},
    {EBUSY, "Device or resource busy"},
    {EEXIST, "File exists"},
    {EXDEV, "Invalid cross-device link"},
    {ENODEV, "No such device"},
    {ENOTDIR, "Not a directory"},
    {EISDIR, "Is a directory"},
    {EINVAL, "Invalid argument"},
    {ENFILE, "Too many open files in system"},
    {EMFILE, "Too many open files"},
    {ENOTTY, "Inappropriate ioctl for device"},
    {EFBIG, "File too large"},
    {ENOSPC, "No space left on device"},
    {ESPIPE, "Illegal seek"},
    {EROFS, "Read-only file system"},
    {EMLINK, "Too many links"},
    {EPIPE, "Broken pipe"},
    {EDOM, "Numerical argument out of domain"},
    {ERANGE, "Numerical result out of range"},
    {EDEADLK, "Resource deadlock avoided"},
    {ENAMETOOLONG, "File name too long"},
    {ENOLCK, "No locks available"},
    {ENOSYS, "Function not implemented"},
    {ENOTEMPTY, "Directory not empty"},
    {EILSEQ, "Invalid or incomplete multibyte or wide character"},
    {EADDRINUSE, "Address already in use"},
    {EADDRNOTAVAIL, "Cannot assign requested address"},
    {EAFNOSUPPORT, "Address family not supported by protocol"},
    {EALREADY, "Operation already in progress"},
    {EBADMSG, "Bad message"},
    {ECANCELED, "Operation canceled"},
    {ECONNABORTED, "Software caused connection abort"},
    {ECONNREFUSED, "Connection refused"},
    {ECONNRESET, "Connection reset by peer"},
    {EDESTADDRREQ, "Destination address required"},
    {EHOSTUNREACH, "No route to host"},
    {EIDRM, "Identifier removed"},
    {EINPROGRESS, "Operation now in progress"},
    {EISCONN, "Transport endpoint is already connected"},
    {ELOOP, "Too many levels of symbolic links"},
    {EMSGSIZE, "Message too long"},
    {ENETDOWN, "Network is down"},
    {ENETRESET, "Network dropped connection on reset"},
    {ENETUNREACH, "Network is unreachable"},
    {ENOBUFS, "No buffer space available"},
    {ENODATA, "No data available"},
    {ENOLINK, "Link has been severed"},
    {ENOMSG, "No message of desired type"},
    {ENOPROTOOPT, "Protocol not available"},
    {ENOSR, "Out of streams resources"},
    {ENOSTR, "Device not a stream"},
    {ENOTCONN, "Transport endpoint is not connected"},
    {ENOTRECOVERABLE, "State not recoverable"},
    {ENOTSOCK, "Socket operation on non-socket"},
    {ENOTSUP, "Operation not supported"},
    {EOPNOTSUPP, "Operation not supported"},
    {EOVERFLOW, "Value too large for defined data type"},
    {EOWNERDEAD, "Owner died"},
    {EPROTO, "Protocol error"},
    {EPROTONOSUPPORT, "Protocol not supported"},
    {EPROTOTYPE, "Protocol wrong type for socket"},
    {ETIME, "Timer expired"},
    {ETIMEDOUT, "Connection timed out"},
    {ETXTBSY, "Text file busy"},
    {EWOULDBLOCK, "Resource temporarily unavailable"},
};

const char* FindText(int error) {
  const auto found =
      std::find_if(std::begin(kKnownErrors), std::end(kKnownErrors),
                   [error](const KnownError& known) { return known.number == error; });
  return found == std::end(kKnownErrors) ? nullptr : found->text;
}

}  // namespace

std::string ErrorText(int error) {
  const char* text = FindText(error);
  return text != nullptr ? std::string(text) : "Unknown error " + std::to_string(error);
}

// The runtime numbers the classic errors from 1 to 42 and the socket and
// stream errors from 100 on; the numbers between have no text.
int KnownErrorTextCount() {
  constexpr int kCount = [] {
    int highest = 0;
    for (const KnownError& known : kKnownErrors) highest = std::max(highest, known.number);
    return highest + 1;
  }();
  return kCount;
}

}  // namespace platform
