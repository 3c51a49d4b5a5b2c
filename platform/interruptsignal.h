// Catching the user's interrupt (Ctrl-C) and termination requests so a
// program can wind down in order instead of dying mid-write. The handler
// only raises a flag; the program looks at it from its own threads.
#pragma once

namespace platform {

// Catches SIGINT and SIGTERM for its lifetime and puts the previous
// handling back afterwards; on Windows also the console's Ctrl-C,
// Ctrl-Break and close events (a closing console waits up to 4.5 s for the
// catcher to go, then the system ends the process). After the first
// request the default handling is back in force, so a second Ctrl-C ends a
// program that no longer responds.
//
// The handling is process-wide, so only the outermost of nested catchers
// installs and restores it; an inner one sees the same requests and leaves
// the handlers alone when it goes.
class InterruptCatcher {
 public:
  InterruptCatcher();
  InterruptCatcher(const InterruptCatcher&) = delete;
  InterruptCatcher& operator=(const InterruptCatcher&) = delete;
  ~InterruptCatcher();

  // True once a request has arrived since the outermost catcher was made.
  bool Caught() const;
  // True when that request asked the program to end (SIGTERM, a closing
  // console) rather than to stop (Ctrl-C, Ctrl-Break).
  bool Terminated() const;

 private:
  bool outermost_;
};

}  // namespace platform
