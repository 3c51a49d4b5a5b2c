// A temporary folder for one test, removed with everything in it at the end.
// Paths handed out are UTF-8 with '/' as separator, as the platform layer
// takes them on every system.
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <random>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace xsetest {

// A path of the standard library from UTF-8 text, and back. Built straight
// from a std::string, a path would be read in the system's 8-bit code page
// on Windows.
inline std::filesystem::path Utf8Path(std::string_view text) {
  return std::filesystem::path(std::u8string(text.begin(), text.end()));
}
inline std::string Utf8Text(const std::filesystem::path& path) {
  const std::u8string text = path.generic_u8string();
  return std::string(text.begin(), text.end());
}

// A whole file's bytes; empty when it cannot be read.
inline std::string ReadWholeFile(const std::filesystem::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}
// `path` in UTF-8.
inline std::string ReadWholeFile(const std::string& path) { return ReadWholeFile(Utf8Path(path)); }
inline std::string ReadWholeFile(const char* path) { return ReadWholeFile(Utf8Path(path)); }

class TempDir {
 public:
  // Throws std::runtime_error when no folder can be made.
  TempDir() {
    const std::filesystem::path base = std::filesystem::temp_directory_path();
    std::mt19937_64 random(
        std::random_device{}() ^
        static_cast<uint64_t>(std::chrono::steady_clock::now().time_since_epoch().count()));
    for (int attempt = 0; attempt < 100; ++attempt) {
      std::string name = "xsetest-";
      for (int i = 0; i < 8; ++i) name += "abcdefghijklmnopqrstuvwxyz0123456789"[random() % 36];
      std::error_code error;
      // False for a name that is taken: creating is the atomic test.
      if (std::filesystem::create_directory(base / name, error)) {
        path_ = base / name;
        return;
      }
    }
    throw std::runtime_error("no temporary folder in " + Utf8Text(base));
  }
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  const std::filesystem::path& path() const { return path_; }
  // The folder, and a file in it, as UTF-8 text.
  std::string Folder() const { return Utf8Text(path_); }
  std::string File(const std::string& name) const { return Utf8Text(path_ / Utf8Path(name)); }

  // Writes `bytes` to a file of the folder and returns its path.
  std::string Write(const std::string& name, std::span<const uint8_t> bytes) const {
    std::ofstream out(path_ / Utf8Path(name), std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    return File(name);
  }

 private:
  std::filesystem::path path_;
};

}  // namespace xsetest
