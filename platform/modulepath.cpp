#include "platform/modulepath.h"

#include <filesystem>

#include "platform/paths.h"

namespace platform {

std::string FindModuleBesideProgram(const std::string& fileName, const std::string& installed,
                                    const std::string& built) {
  const std::filesystem::path program = PathFromUtf8(ExecutablePath());
  if (program.empty()) return built;
  const auto exists = [](const std::filesystem::path& path) {
    return EntryExists(Utf8FromPath(path.parent_path()), Utf8FromPath(path.filename()));
  };
  const std::filesystem::path beside = program.parent_path() / PathFromUtf8(fileName);
  if (exists(beside)) return Utf8FromPath(beside);
  if (!installed.empty()) {
    const std::filesystem::path relative =
        (program.parent_path() / PathFromUtf8(installed)).lexically_normal();
    if (exists(relative)) return Utf8FromPath(relative);
  }
  return built;
}

}  // namespace platform
