// Paths and texts cross the Win32 API as UTF-16; the rest of the system
// keeps 8-bit strings in UTF-8. These two turn one into the other at the
// API's edge.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// `text` (UTF-8) as UTF-16. Bytes that are no valid UTF-8 become U+FFFD.
std::wstring WidenUtf8(std::string_view text);

// `text` (UTF-16) as UTF-8. Unpaired surrogates become U+FFFD.
std::string NarrowToUtf8(std::wstring_view text);

}  // namespace platform
