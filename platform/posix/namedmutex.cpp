#include "platform/namedmutex.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <new>
#include <string>
#include <string_view>

// The mutex is a robust, process-shared, recursive pthread mutex living in a
// small shared-memory object named after the mutex. Robustness gives the
// "abandoned" result when an owner dies; recursion matches the usual
// semantics of named mutexes, where the owner may take it again.
//
// Shared-memory objects outlive their users unless removed, so every handle
// holds a shared open-file-description lock on byte 1 of the object as its
// reference, and the last closer removes the name. Creating and closing are
// serialised by an exclusive lock on byte 0. Those locks belong to the open
// file (not the process) and vanish when a process dies, so a crash leaves no
// stale count behind.

namespace platform {
namespace {

constexpr uint32_t kMagic = 0x58534D31;  // marks a fully initialised object
constexpr off_t kGuardByte = 0;
constexpr off_t kReferenceByte = 1;
constexpr size_t kMaxNameLength = 259;
constexpr size_t kReadablePartLength = 64;
constexpr int kMaxCreateAttempts = 8;

struct SharedBlock {
  uint32_t magic;
  pthread_mutex_t mutex;
};

bool LockByte(int fd, off_t byte, short type, bool wait) {
  struct flock lock {};
  lock.l_type = type;
  lock.l_whence = SEEK_SET;
  lock.l_start = byte;
  lock.l_len = 1;
  for (;;) {
    if (::fcntl(fd, wait ? F_OFD_SETLKW : F_OFD_SETLK, &lock) == 0) return true;
    if (errno != EINTR) return false;
  }
}

// True when an open file other than `fd`'s holds a lock on `byte`.
bool OthersLockByte(int fd, off_t byte) {
  struct flock probe {};
  probe.l_type = F_WRLCK;
  probe.l_whence = SEEK_SET;
  probe.l_start = byte;
  probe.l_len = 1;
  // When the probe itself fails, claim the byte is in use: leaving a name
  // behind is harmless, removing one in use would split the mutex in two.
  if (::fcntl(fd, F_OFD_GETLK, &probe) != 0) return true;
  return probe.l_type != F_UNLCK;
}

bool IsUsableName(const char* name) {
  if (name == nullptr || *name == '\0') return false;
  const std::string_view view(name);
  return view.size() <= kMaxNameLength && view.find('\\') == std::string_view::npos;
}

// The shared-memory name: a readable tail of the mutex name (file names are
// easier to recognise by their end) plus a hash of the whole name, so long or
// similar names cannot meet by accident and the result always fits.
std::string SystemName(std::string_view name) {
  uint64_t hash = 0xCBF29CE484222325ULL;  // FNV-1a
  for (const char c : name) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 0x100000001B3ULL;
  }
  const std::string_view tail =
      name.size() > kReadablePartLength ? name.substr(name.size() - kReadablePartLength) : name;
  std::string result = "/xse-mutex-";
  for (const char c : tail) {
    const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                       c == '.' || c == '-' || c == '_';
    result += plain ? c : '_';
  }
  static constexpr char kHex[] = "0123456789abcdef";
  result += '-';
  for (int shift = 60; shift >= 0; shift -= 4) result += kHex[(hash >> shift) & 0xF];
  return result;
}

bool InitialiseMutex(pthread_mutex_t* mutex) {
  pthread_mutexattr_t attributes;
  if (::pthread_mutexattr_init(&attributes) != 0) return false;
  const bool ok = ::pthread_mutexattr_setpshared(&attributes, PTHREAD_PROCESS_SHARED) == 0 &&
                  ::pthread_mutexattr_setrobust(&attributes, PTHREAD_MUTEX_ROBUST) == 0 &&
                  ::pthread_mutexattr_settype(&attributes, PTHREAD_MUTEX_RECURSIVE) == 0 &&
                  ::pthread_mutex_init(mutex, &attributes) == 0;
  ::pthread_mutexattr_destroy(&attributes);
  return ok;
}

}  // namespace

struct NamedMutex {
  int fd = -1;
  SharedBlock* block = nullptr;
  pid_t openedBy = 0;  // a forked child must not run the removal protocol on this handle
  std::string systemName;
};

namespace {

// Maps the object behind `fd` (guard byte held) and initialises it when no
// one has finished doing so. Re-initialising an object without the magic is
// safe: nobody can have attached to it.
SharedBlock* MapAndInitialise(int fd, off_t currentSize) {
  if (currentSize < static_cast<off_t>(sizeof(SharedBlock)) &&
      ::ftruncate(fd, static_cast<off_t>(sizeof(SharedBlock))) != 0) {
    return nullptr;
  }
  void* memory = ::mmap(nullptr, sizeof(SharedBlock), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
  if (memory == MAP_FAILED) return nullptr;
  auto* block = static_cast<SharedBlock*>(memory);
  if (block->magic != kMagic) {
    if (!InitialiseMutex(&block->mutex)) {
      ::munmap(memory, sizeof(SharedBlock));
      return nullptr;
    }
    block->magic = kMagic;
  }
  return block;
}

}  // namespace

NamedMutex* CreateNamedMutex(const char* name) {
  if (!IsUsableName(name)) return nullptr;
  const std::string systemName = SystemName(name);
  // A closer may remove the name between our open and our guard lock; then
  // the object we opened is dead and we start over with a fresh one.
  for (int attempt = 0; attempt < kMaxCreateAttempts; ++attempt) {
    const int fd = ::shm_open(systemName.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0) return nullptr;
    if (!LockByte(fd, kGuardByte, F_WRLCK, true)) {
      ::close(fd);
      return nullptr;
    }
    struct stat status {};
    if (::fstat(fd, &status) != 0) {
      ::close(fd);
      return nullptr;
    }
    if (status.st_nlink == 0) {
      ::close(fd);  // also drops the guard lock
      continue;
    }
    SharedBlock* block = MapAndInitialise(fd, status.st_size);
    if (block == nullptr || !LockByte(fd, kReferenceByte, F_RDLCK, false)) {
      if (block != nullptr) ::munmap(block, sizeof(SharedBlock));
      ::close(fd);
      return nullptr;
    }
    LockByte(fd, kGuardByte, F_UNLCK, false);
    auto* mutex = new (std::nothrow) NamedMutex;
    if (mutex == nullptr) {
      ::munmap(block, sizeof(SharedBlock));
      ::close(fd);  // our reference goes with the file; the name may stay behind
      return nullptr;
    }
    mutex->fd = fd;
    mutex->block = block;
    mutex->openedBy = ::getpid();
    mutex->systemName = systemName;
    return mutex;
  }
  return nullptr;
}

void CloseNamedMutex(NamedMutex* mutex) {
  if (mutex == nullptr) return;
  if (mutex->openedBy == ::getpid() && LockByte(mutex->fd, kGuardByte, F_WRLCK, true)) {
    if (!OthersLockByte(mutex->fd, kReferenceByte)) ::shm_unlink(mutex->systemName.c_str());
    // Closing the file below drops both our reference and the guard.
  }
  ::munmap(mutex->block, sizeof(SharedBlock));
  ::close(mutex->fd);
  delete mutex;
}

MutexWait WaitNamedMutex(NamedMutex* mutex, uint32_t timeoutMs) {
  if (mutex == nullptr) return MutexWait::kFailed;
  pthread_mutex_t* handle = &mutex->block->mutex;
  int result = ::pthread_mutex_trylock(handle);
  if (result == EBUSY && timeoutMs > 0) {
    // The timed lock only takes a wall-clock deadline; a clock step during
    // the wait lengthens or shortens it, which a trace lock can live with.
    struct timespec deadline {};
    ::clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += static_cast<time_t>(timeoutMs / 1000);
    deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
      deadline.tv_sec += 1;
      deadline.tv_nsec -= 1000000000L;
    }
    result = ::pthread_mutex_timedlock(handle, &deadline);
  }
  switch (result) {
    case 0:
      return MutexWait::kAcquired;
    case EOWNERDEAD:
      if (::pthread_mutex_consistent(handle) == 0) return MutexWait::kAbandoned;
      ::pthread_mutex_unlock(handle);
      return MutexWait::kFailed;
    case EBUSY:
    case ETIMEDOUT:
      return MutexWait::kTimedOut;
    default:
      return MutexWait::kFailed;
  }
}

bool ReleaseNamedMutex(NamedMutex* mutex) {
  if (mutex == nullptr) return false;
  return ::pthread_mutex_unlock(&mutex->block->mutex) == 0;
}

}  // namespace platform
