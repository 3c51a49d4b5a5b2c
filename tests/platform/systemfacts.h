// What the platform tests need to know about the system they run on, so
// that one test can check the same contract everywhere. One definition per
// system, in posix/ and windows/.
#pragma once

namespace platformtest {

// A library every installation has, which exports cos(double).
extern const char* const kMathLibrary;
// A device that opens at once, without waiting.
extern const char* const kNullDevice;

}  // namespace platformtest
