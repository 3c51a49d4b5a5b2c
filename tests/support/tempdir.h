// A temporary folder for one test, removed with everything in it at the end.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <span>
#include <string>

namespace xsetest {

class TempDir {
 public:
  TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "xsetest-XXXXXX").string();
    path_ = mkdtemp(pattern.data());
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }
  std::string File(const std::string& name) const { return (path_ / name).string(); }

  // Writes `bytes` to a file of the folder and returns its path.
  std::string Write(const std::string& name, std::span<const uint8_t> bytes) const {
    const std::string file = File(name);
    std::ofstream out(file, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    return file;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace xsetest
