// The C library's texts for its error numbers (errno).
#pragma once

#include <string>

namespace platform {

// The text for `error`, in English whatever the locale, such as "No such file
// or directory" for ENOENT; "Unknown error <n>" for a number without one.
std::string ErrorText(int error);

// The count of error numbers the library has texts for: numbers from 1 up to
// one less than this count are the known ones (some inside may have none:
// on Windows, whose numbers are not Linux's, those from 43 to 99).
int KnownErrorTextCount();

}  // namespace platform
