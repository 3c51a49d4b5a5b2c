// Folder and path queries. Paths are 8-bit strings in UTF-8 with '/' as
// separator (on Windows '\' is taken as one too, and a path may start with
// a drive such as "C:/").
#pragma once

#include <filesystem>
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

// A path of the standard library from a UTF-8 path, and back (with '/' as
// separator). A path built straight from a std::string would be read in the
// system's 8-bit code page on Windows, where "Überfahrt 3" is no UTF-8.
std::filesystem::path PathFromUtf8(std::string_view path);
std::string Utf8FromPath(const std::filesystem::path& path);

}  // namespace platform
