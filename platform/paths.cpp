#include "platform/paths.h"

#include <system_error>

namespace platform {

std::filesystem::path PathFromUtf8(std::string_view path) {
  // char8_t text is UTF-8 by definition: widened on Windows, kept byte for
  // byte elsewhere.
  return std::filesystem::path(std::u8string(path.begin(), path.end()));
}

std::string Utf8FromPath(const std::filesystem::path& path) {
  const std::u8string text = path.generic_u8string();
  return std::string(text.begin(), text.end());
}

std::string CurrentDirectory() {
  std::error_code error;
  std::filesystem::path current = std::filesystem::current_path(error);
  if (error) return {};
  return Utf8FromPath(current);
}

std::string AbsolutePath(std::string_view path) {
  if (path.empty()) return {};
  std::error_code error;
  const std::filesystem::path absolute =
      std::filesystem::absolute(PathFromUtf8(path), error).lexically_normal();
  if (error) return {};
  std::string result = Utf8FromPath(absolute);
  // Normalising "dir/.." leaves "dir/" with a trailing separator; callers
  // append their own. A root ("/", "C:/") keeps its separator.
  if (absolute.has_relative_path() && result.size() > 1 && result.back() == '/') result.pop_back();
  return result;
}

bool EntryExists(std::string_view folder, std::string_view name) {
  if (name.empty()) return false;
  const std::filesystem::path base =
      folder.empty() ? std::filesystem::path(".") : PathFromUtf8(folder);
  std::error_code error;
  // symlink_status: a dangling link is still an entry of that name.
  const auto status = std::filesystem::symlink_status(base / PathFromUtf8(name), error);
  return !error && std::filesystem::exists(status);
}

}  // namespace platform
