// Win32 error codes (GetLastError) in the words the platform layer uses on
// every system: the C library's error texts, such as "No such file or
// directory".
#pragma once

#include <string>

namespace platform {

// The errno number closest to the Win32 error `code`, or 0 when none fits.
int ErrnoFromWin32Error(unsigned long code);

// The text for `code`: the errno text when one fits, else the system's own
// English message, else "Windows error <code>".
std::string Win32ErrorText(unsigned long code);

}  // namespace platform
