// A mutex shared by every process of the machine that opens it under the same
// name. It belongs to one thread at a time, may be taken again by the thread
// that holds it (each take needs its own release), and a wait tells apart the
// case where the previous owner ended while holding it.
#pragma once

#include <cstdint>

namespace platform {

// Opaque; a null pointer stands for "no mutex" and every operation accepts it.
struct NamedMutex;

enum class MutexWait {
  kAcquired,   // taken normally
  kAbandoned,  // the owner ended while holding it; the caller holds it now
  kTimedOut,   // still held by another thread after the wait
  kFailed,     // no mutex, or the system refused the wait
};

// Opens the mutex called `name`, creating it when no process has it open.
// Returns null (the caller goes on without the mutex) when the system fails or
// when the name is refused: null, empty, longer than 259 characters, or
// containing a backslash. Any other name is accepted, slashes included, so a
// file path can name the mutex that guards the file.
NamedMutex* CreateNamedMutex(const char* name);

// Closes the handle. The system object goes away with the last handle closed
// anywhere. Close only a handle that the calling thread does not hold. In a
// process made by fork, closing a handle inherited from the parent only
// releases the child's view of it.
void CloseNamedMutex(NamedMutex* mutex);

// Waits at most `timeoutMs` milliseconds (0: just try) to take the mutex.
MutexWait WaitNamedMutex(NamedMutex* mutex, uint32_t timeoutMs);

// Gives back one take. False when the calling thread does not hold the mutex.
bool ReleaseNamedMutex(NamedMutex* mutex);

}  // namespace platform
