// Loading a shared library at run time and looking up what it exports.
// Loading runs the library's start-up code (and with it any module entry it
// has); unloading the last reference runs its shut-down code.
#pragma once

#include <string>

namespace platform {

class DynamicLibrary {
 public:
  DynamicLibrary() = default;
  DynamicLibrary(const DynamicLibrary&) = delete;
  DynamicLibrary& operator=(const DynamicLibrary&) = delete;
  DynamicLibrary(DynamicLibrary&& other) noexcept;
  DynamicLibrary& operator=(DynamicLibrary&& other) noexcept;
  ~DynamicLibrary() { Close(); }

  // Loads `path` (a path with a '/' is taken as is; a bare name is searched
  // the system's way). All its symbols are bound at once, so a missing one
  // fails here rather than in the middle of a run. False on failure, with
  // the reason in error(); a library already open is closed first.
  bool Open(const std::string& path);
  // Drops this reference; the library is unloaded with its last one.
  // False when the system reported an error.
  bool Close();
  bool IsOpen() const { return handle_ != nullptr; }

  // The address of the exported `name`, or null (reason in error()).
  void* Symbol(const char* name);

  // Looks up `name` as a function of type F (a function pointer type).
  template <typename F>
  F Function(const char* name) {
    void* address = Symbol(name);
    F function = nullptr;
    static_assert(sizeof function == sizeof address);
    // Exported functions come back as data addresses; copying the bits is
    // the one portable way to turn them into callable pointers.
    __builtin_memcpy(&function, &address, sizeof function);
    return function;
  }

  const std::string& error() const { return error_; }

 private:
  void* handle_ = nullptr;
  std::string error_;
};

}  // namespace platform
