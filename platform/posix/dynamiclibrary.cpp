#include "platform/dynamiclibrary.h"

#include <dlfcn.h>

#include <utility>

namespace platform {
namespace {

std::string LastError(const char* fallback) {
  const char* text = ::dlerror();
  return text != nullptr ? std::string(text) : std::string(fallback);
}

}  // namespace

DynamicLibrary::DynamicLibrary(DynamicLibrary&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), error_(std::move(other.error_)) {}

DynamicLibrary& DynamicLibrary::operator=(DynamicLibrary&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = std::exchange(other.handle_, nullptr);
    error_ = std::move(other.error_);
  }
  return *this;
}

bool DynamicLibrary::Open(const std::string& path) {
  Close();
  error_.clear();
  // Local binding keeps the library's own symbols out of the way of other
  // modules; two copies of one library can then be loaded side by side.
  handle_ = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) {
    error_ = LastError("cannot load library");
    return false;
  }
  return true;
}

bool DynamicLibrary::Close() {
  if (handle_ == nullptr) return true;
  const bool closed = ::dlclose(std::exchange(handle_, nullptr)) == 0;
  if (!closed) error_ = LastError("cannot unload library");
  return closed;
}

void* DynamicLibrary::Symbol(const char* name) {
  if (handle_ == nullptr || name == nullptr) {
    error_ = "library not loaded";
    return nullptr;
  }
  ::dlerror();
  void* address = ::dlsym(handle_, name);
  if (address == nullptr) error_ = LastError("symbol not found");
  return address;
}

}  // namespace platform
