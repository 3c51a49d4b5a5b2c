// Private-profile (ini) files: "[section]" headers followed by "key=value"
// lines. Section and key names match without regard to case; names and
// values lose their surrounding blanks; a value wrapped in matching single or
// double quotes loses the quotes; lines whose first non-blank is ';' are
// comments. Only the first section of a name and, inside it, the first key
// of a name count. Keys before the first header belong to no section.
//
// On Windows the system's own profile functions read and write the file, so
// that the host, which uses them too, sees the same values. Reads keep the
// rules above. Writes are checked against the same refusals, but the system
// lays the file out: its lines end in CR LF, and other lines may be
// rewritten in its own form (blanks around '=' dropped), with their values
// kept. There the file's text is in the system's ANSI code page unless the
// file starts with a UTF-16 byte-order mark: values outside that code page
// do not survive, and non-ASCII text of a UTF-8 file reads differently than
// on Linux.
#pragma once

#include <cstddef>
#include <string>

namespace platform {

// Buffer size of a read, terminator included: values are cut to one less.
inline constexpr std::size_t kProfileBufferSize = 255;

// The value of `key` in `section` of the file at `path`, at most
// `bufferSize - 1` characters. A missing file, section or key, or an empty
// section or key name, gives `defaultValue` instead (trailing blanks removed,
// cut the same way).
std::string ReadProfileString(const std::string& path, const std::string& section,
                              const std::string& key, const std::string& defaultValue,
                              std::size_t bufferSize = kProfileBufferSize);

// Sets `key` in `section` of the file at `path` to `value`. An existing key
// has its value replaced on its own line; a new key goes at the end of its
// section, a new section at the end of the file, and a missing file is
// created (its folder is not). Every other byte of the file stays as it was.
// False, with the file untouched, when the file cannot be read or written,
// is larger than kMaxProfileFileSize, or when a name or the value would not
// survive a read back: empty names, line breaks anywhere, '=' in the key,
// ']' in the section, a key starting with ';' or '['.
bool WriteProfileString(const std::string& path, const std::string& section, const std::string& key,
                        const std::string& value);

// A write holds the whole file in memory; settings files are tiny, so a
// larger file is refused rather than read.
inline constexpr std::size_t kMaxProfileFileSize = std::size_t{16} * 1024 * 1024;

// Reads look at no more than this much of any one line; the rest of a longer
// line is skipped, so a hostile file cannot make a read allocate without bound.
inline constexpr std::size_t kMaxProfileLineLength = std::size_t{64} * 1024;

}  // namespace platform
