// Folder and path queries. Paths are 8-bit strings with '/' as separator.
#pragma once

#include <string>
#include <string_view>

namespace platform {

// The process's current working folder, or empty when it cannot be told
// (for instance because it was removed).
std::string CurrentDirectory();

// `path` made absolute against the current folder, with "." and ".." steps
// and doubled separators folded away (lexically; links are not followed and
// the path need not exist). Empty when `path` is empty or the current folder
// cannot be told.
std::string AbsolutePath(std::string_view path);

// True when `folder` holds an entry called `name`, whatever its kind (file,
// folder, ...). An empty folder means the current one.
bool EntryExists(std::string_view folder, std::string_view name);

}  // namespace platform
