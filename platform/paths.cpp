#include "platform/paths.h"

#include <filesystem>
#include <system_error>

namespace platform {

std::string CurrentDirectory() {
  std::error_code error;
  std::filesystem::path current = std::filesystem::current_path(error);
  if (error) return {};
  return current.string();
}

std::string AbsolutePath(std::string_view path) {
  if (path.empty()) return {};
  std::error_code error;
  const std::filesystem::path absolute = std::filesystem::absolute(path, error);
  if (error) return {};
  std::string result = absolute.lexically_normal().string();
  // Normalising "dir/.." leaves "dir/" with a trailing separator; callers
  // append their own.
  if (result.size() > 1 && result.back() == '/') result.pop_back();
  return result;
}

bool EntryExists(std::string_view folder, std::string_view name) {
  if (name.empty()) return false;
  const std::filesystem::path base = folder.empty() ? std::filesystem::path(".") : folder;
  std::error_code error;
  // symlink_status: a dangling link is still an entry of that name.
  const auto status = std::filesystem::symlink_status(base / name, error);
  return !error && std::filesystem::exists(status);
}

}  // namespace platform
